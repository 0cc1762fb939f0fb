#pragma once
// The message table: one constant per error the system raises itself, each
// formatted at the place of the error with the arguments its placeholders name.

namespace cogent {

inline constexpr const char* _SInvalidName = "Invalid expert system name, \"%s\", name must not contain any of the following characters:  '\"#()[]?:$&;<>";
inline constexpr const char* _SInvalidVariableName = "Invalid expert system name, \"%s\", name must not contain any of the following characters:  '\"#()[]:$&;<>";
inline constexpr const char* _SInvalidFileAccess = "Invalid File Access Specifier: \"%s\"";
inline constexpr const char* _SNoContext = "No context found when trying to resolve a %s value";
inline constexpr const char* _SMissingNumeric = "Expected numeric argument to %s function call";
inline constexpr const char* _SMissingComponent = "Expected component argument to %s function call";
inline constexpr const char* _SMissingFuzzyCloseBracket = "Missing Fuzzy Close Bracket in expression";
inline constexpr const char* _SMissingOpenParens = "Expected \"(\"";
inline constexpr const char* _SMissingCloseParens = "Expected \")\"";
inline constexpr const char* _SUnableFindFact = "Unable to find fact f-%d";
inline constexpr const char* _SUnterminatedString = "Invalid string value, string was not terminated";
inline constexpr const char* _SMissingCatchStatement = "Missing catch or finally statement for try block";
inline constexpr const char* _SBadArgument = "Bad Argument: %s";
inline constexpr const char* _SNotPlatformFunction = "%s function is not available on this platform";
inline constexpr const char* _SNotPlatformAvailable = "Does not work on this platform";
inline constexpr const char* _SBadVariableName = "Bad Variable Name, must start and end with an asterisk: %s";
inline constexpr const char* _SBadSlotName = "Bad Slot Name: %s";
inline constexpr const char* _SNoIndexNameMatch = "Index does not match fact slot name: %s and %s";
inline constexpr const char* _SBadSlotValue = "Bad Slot Value: %s";
inline constexpr const char* _SBadSlotType = "Bad Slot Type";
inline constexpr const char* _SBadValue = "Bad Value for %s";
inline constexpr const char* _SCannotWatch = "Cannot watch %s";
inline constexpr const char* _SCannotUnWatch = "Cannot unwatch %s";
inline constexpr const char* _SInvalidBackchainPattern = "Invalid backward chaining pattern added to the node";
inline constexpr const char* _SInvalidSlotDefault = "Invalid default slot value: %s";
inline constexpr const char* _SInvalidDefaultMultislotValue = "Invalid default value for a multislot, must be a multifield: %s";
inline constexpr const char* _SInvalidMultiSlotType = "no types are allowed for multislots";
inline constexpr const char* _SInvalidExistingSlotChange = "Invalid value for existing slot, slot is not multislot";
inline constexpr const char* _SInvalidExistingMultiSlotChange = "Invalid value for existing slot, multislot is not slot";
inline constexpr const char* _SInvalidSlotQualifier = "Invalid slot qualifier: %s";
inline constexpr const char* _SInvalidTestBinding = "\"not\" and \"test\" CEs cannot be bound to variables";
inline constexpr const char* _SInvalidRuleFmt = "Invalid Rule Format (%s): %s";
inline constexpr const char* _SInvalidSubstrParameters = "Invalid substring parameters: %d, %d";
inline constexpr const char* _SInvalidMFParameters = "Invalid multifield begin and end parameters: %d, %d";
inline constexpr const char* _SUnexpectedCharacters = "\"%s\" contains unexpected character: \"%s\"";
inline constexpr const char* _SModuleMAINReserved = "Module \"MAIN\" is reserved name and cannot be used for any other module";
inline constexpr const char* _SInvalidAgendaItem = "Invalid object, agenda can only accept TActivation objects";
inline constexpr const char* _SExpectedEqGT = "Expected \"=>\"";
inline constexpr const char* _SExpectedAtom = "Expected \"( <atom>\"";
inline constexpr const char* _SExpectedValue = "Expected value missing";
inline constexpr const char* _SExpectedChar = "Expected \"%s\"";
inline constexpr const char* _SExpectedKeyword = "Missing keyword.  Expected \"%s\"";
inline constexpr const char* _SNotMultiSlot = "Slot \"%s\" is not a multislot";
inline constexpr const char* _SInvalidLowHiLimits = "Invalid low and high limits specified: %.4f to %.4f";
inline constexpr const char* _SExpectedAssignment = "Expected \"<-\"";
inline constexpr const char* _SExpectedIntVarFun = "Expected integer, variable, or function call for %s";
inline constexpr const char* _SExpectedNumVarFun = "Expected number, variable, or function call";
inline constexpr const char* _SExpectedRuleProperty = "Expected rule property, salience, oneshot, or enabled";
inline constexpr const char* _SExpectedSalience = "Expected \"salience\"";
inline constexpr const char* _SExpectedExtends = "Expected \"(\", \"extends\", or \"is-a\"";
inline constexpr const char* _SExpectedDeffacts = "Expected \"( deffacts\"";
inline constexpr const char* _SExpectedDefType = "Expected \"( deftype\"";
inline constexpr const char* _SExpectedDefTemplate = "Expected \"( deftemplate\"";
inline constexpr const char* _SExpectedDefModule = "Expected \"( defmodule\"";
inline constexpr const char* _SExpectedDefRule = "Expected \"( defrule\"";
inline constexpr const char* _SExpectedDefFunction = "Expected \"( deffunction\"";
inline constexpr const char* _SExpectedFuzzySet = "Expected \"( term\"";
inline constexpr const char* _SExpectedDefGlobal = "Expected \"( defglobal\"";
inline constexpr const char* _SNestedNotCEs = "Nested Not CEs not allowed yet";
inline constexpr const char* _SNoSuchSlot = "No such slot in fact template: %s";
inline constexpr const char* _SAtomNotEquals = "\"=\" cannot appear as an atom within a fact";
inline constexpr const char* _SNotCorrectType = "Not a %s type.  Value (%s) is a %s type";
inline constexpr const char* _SNotAllowedValue = "Not in allowed values";
inline constexpr const char* _SListCardinalityError = "Multislot must have between %d and %d elements";
inline constexpr const char* _SOutOfRangeError = "Range must be between %.4f and %.4f";
inline constexpr const char* _SNotCorrectSlotType = "Slot %s does not contain a %s.  Value Type is %s";
inline constexpr const char* _SInvalidSlotValue = "%s for %s slot";
inline constexpr const char* _SInvalidValueType = "Value and type mismatch";
inline constexpr const char* _SInvalidValue = "Value \"%s\" is not valid, %s";
inline constexpr const char* _SInvalidFuzzyValue = "invalid fuzzy value";
inline constexpr const char* _STooFewArgs = "Too few arguments for %s";
inline constexpr const char* _STooManyArgs = "Too many arguments for %s";
inline constexpr const char* _SCorruptedToken = "Corrupted Token, Negated Count is less than 0";
inline constexpr const char* _SCorruptedVariable = "Corrupted Binding, variable not found: %s";
inline constexpr const char* _SInvalidModuleDependency = "Invalid module dependency.  Module \"%s\" imports module \"%s\" which is later in the module list";
inline constexpr const char* _SImportedDefTypeExists = "Module has existing imported defined dype: \"%s\"";
inline constexpr const char* _SImportedTemplateExists = "Module has existing imported fact template: \"%s\"";
inline constexpr const char* _SDuplicateDefTypeNames = "Defined Type Name already exists: \"%s\"";
inline constexpr const char* _SDuplicateFunctionNames = "Function Name already exists: \"%s\"";
inline constexpr const char* _SDuplicateTemplateNames = "Fact Template Name already exists: \"%s\"";
inline constexpr const char* _SDuplicateModuleNames = "Module Name already exists: \"%s\"";
inline constexpr const char* _SDuplicateRuleNames = "Duplicate Rules defined with same name: \"%s\"";
inline constexpr const char* _SDuplicateStreamNames = "Duplicate streams defined with same name: \"%s\"";
inline constexpr const char* _SInvalidFunctionAdd = "Cannot add nil to user functions";
inline constexpr const char* _SInvalidPatternBinding = "Cannot bind a negated pattern to a variable";
inline constexpr const char* _SInvalidAddObject = "Invalid object being added: \"%s\" instead of \"%s\"";
inline constexpr const char* _SInvalidArgType = "Invalid argument type for deffunction: \"%s\".  Expected %s";
inline constexpr const char* _SInvalidSlotName = "No such slot name: \"%s\"";
inline constexpr const char* _SInvalidSlotType = "Invalid slot type: %s";
inline constexpr const char* _SInvalidModulekeyword = "Invalid defmodule keyword: \"%s\"";
inline constexpr const char* _SUnsharedFactTemplateType = "Fact Template, \"%s\", depends on non-imported Defined Type: \"%s\"";
inline constexpr const char* _SMissingModuleExportID = "Missing module export keyword (?ALL, ?NONE, deftype, or deftemplate): \"%s\"";
inline constexpr const char* _SBadNameList = "Invalid name in defmodule name list: \"%s\"";
inline constexpr const char* _SModuleNotExist = "Module does not exist: \"%s\"";
inline constexpr const char* _SModuleImportsItself = "Module \"%s\" cannot import from itself";
inline constexpr const char* _SInvalidCallType = "Invalid Call Type: %s";
inline constexpr const char* _SInvalidTokenAction = "Invalid Token Action";
inline constexpr const char* _SInvalidTokenHint = "Invalid Token hint for parsing token: %s";
inline constexpr const char* _SInvalidStreamName = "Invalid stream name: %s";
inline constexpr const char* _SInvalidPtr = "Invalid destruction of pointer reference, reference counting greater than 0";
inline constexpr const char* _SUnknownName = "Unknown %s name: %s";
inline constexpr const char* _SUnknownFactTemplate = "Unknown fact template: %s";
inline constexpr const char* _SUnknownValueInterface = "Unknown interface supplied to engine value";
inline constexpr const char* _SFactTemplatesDifferent = "Unable to assign slot values, fact templates are different: %s and %s";
inline constexpr const char* _SMissingName = "Missing name";
inline constexpr const char* _SMissingModuleSeparator = "Missing module separator \"::\"";
inline constexpr const char* _SMissingTemplateName = "Missing Fact Template name";
inline constexpr const char* _SMissingDeffactsName = "Missing Fact Set name";
inline constexpr const char* _SMissingParentTemplateName = "Missing name of parent template to extend";
inline constexpr const char* _SMissingIsaTypeName = "Missing name of type for fact template";
inline constexpr const char* _SUnknownTypeName = "type name unknown or invalid: %s";
inline constexpr const char* _SMissingParentDefinedTypeName = "Missing name of parent defined type to extend";
inline constexpr const char* _SMissingThen = "Missing \"then\" in an IF statement";
inline constexpr const char* _SMultifieldLengthMismatch = "Invalid multifield arguments, the two multifields must be of the same length";
inline constexpr const char* _SNoSuchFact = "No Such Fact with ID=%s exists";
inline constexpr const char* _SNoSuchModule = "No such module with name=%s exists";
inline constexpr const char* _SNoSuchFunction = "Function is unimplemented or unassigned: %s";
inline constexpr const char* _SCallsTooDeep = "Calls nested too deeply in %s: the stack is nearly used up";
// The second sentence is ours; only its first sentence is fixed.
inline constexpr const char* _SNoReadFunctionWarning = "The %s event has not been implemented or unassigned.\r\nAssign a handler that waits until input is available.";
inline constexpr const char* _SNoTemplate = "Fact Template is missing";
inline constexpr const char* _SNoRule = "No Rule exists with name: %s";
inline constexpr const char* _SMissingRule = "Missing Rule cannot be edited";
inline constexpr const char* _SSyntaxError = "Syntax Error: %s";
inline constexpr const char* _SCannotChangeID = "Illegal Attempt to change Fact Id";
inline constexpr const char* _SExpectedParenConstVar = "Unexpected symbol, expected a \"(\", constant, or global variable: %s";
inline constexpr const char* _SUnknownEngine = "Unknown/Undefined Inference Engine";
inline constexpr const char* _SMissingFactSet = "Empty fact set property";
inline constexpr const char* _SUnknownVariable = "Unknown variable name: %s";
inline constexpr const char* _SEncodingProblem = "Invalid variable name, %s.  Possible encoding error";
inline constexpr const char* _SUnknownKBClassName = "Unknown class name: %s";
inline constexpr const char* _SUnexpectedCharacter = "Unexpected character found: \"%s\"";
inline constexpr const char* _SUnexpectedEOF = "Unexpected end of stream";
inline constexpr const char* _SWrongFunctionName = "Function names do not match: %s and %s";
inline constexpr const char* _SNegatedVariable = "First Use of Variable is negated, variable name is %s";
inline constexpr const char* _SParseError = "Parsing Error, %s in %s at line %s: %s";
inline constexpr const char* _SNoParser = "No parser specified";
inline constexpr const char* _SMultipleParseError = "Errors parsing stream:\r\n%s";
inline constexpr const char* _SParseTypeError = "Unable to parse strings of %s at this time";
inline constexpr const char* _SBackChainCE = "Cannot backchain on special CEs: %s";
inline constexpr const char* _SBackChainFuncallPatterns = "Cannot use Function calls in backchained patterns: %s";
inline constexpr const char* _SNoSuchConstraint = "Defined Type %s does not have %s constraints";
inline constexpr const char* _SInvalidConstraint = "Defined Type %s cannot contain %s constraint types";
inline constexpr const char* _SUncloneableValue = "Uncloneable value.  Value owned an object of &s class type";
inline constexpr const char* _SEmptyBaseTypes = "Empty base type for defined type not allowed";
inline constexpr const char* _SCannotMixFuzzy = "Cannot mix fuzzy type with other primitive types";
inline constexpr const char* _SMissingRange = "Missing range statement";
inline constexpr const char* _SMissingFuzzySetValues = "Missing fuzzy set \"values\" statement";
inline constexpr const char* _SMissingAllowedEnumeration = "Expected allowed value argument for deftype, received %s";
inline constexpr const char* _STypeInheritanceLoop = "Type inheritance loop detected, %s type cannot be an ancestor of itself";
inline constexpr const char* _SNoMultiTypeInheritance = "Multiple inheritance is not allowed for deftypes";
inline constexpr const char* _SFactTemplateInheritanceCorrupt = "Fact templates inheritance structure corrupted";
inline constexpr const char* _SDBTypeMismatch = "Defined type not valid for database field of type: %s";
inline constexpr const char* _SDBMultiSlotNotString = "Fields that are Multislots must be of type string";
inline constexpr const char* _STypeInheritanceCorrupt = "Defined types inheritance structure corrupted";
inline constexpr const char* _SMissingFuzzyOperand = "Missing fuzzy operand to be modified by hedge: %s";
inline constexpr const char* _SInvalidFuzzyToken = "Invalid item in fuzzy expression: %s";
inline constexpr const char* _SNeedFuzzyType = "Fuzzy Type Definition needed to parse value";
inline constexpr const char* _SDifferentFuzzyVariables = "Fuzzy variables are different, %s is a term from %s and %s is a term from %s";
inline constexpr const char* _SInvalidFuzzyUnionTemplate = "Cannot union two facts with different fact templates: %s and %s";
inline constexpr const char* _SNotFuzzyFact = "Fact is not a fuzzy fact";
inline constexpr const char* _SInvalidFuzzyCorrelation = "Invalid Fuzzy Correlation specified (%s), expected %s";
inline constexpr const char* _SInvalidFuzzyInference = "Invalid Fuzzy Inference specified (%s), expected %s";
inline constexpr const char* _SInvalidKBFuzzyOperation = "Invalid Fuzzy operation specified (%s) for %s, expected %s";
inline constexpr const char* _SInvalidFuzzyExpression = "Invalid Fuzzy Expression: %s";
inline constexpr const char* _SUndefinedFuzzyVariable = "fuzzy variable is not defined";
inline constexpr const char* _SFuzzyDefinitionError = "Invalid attempt to modify fuzzy type in fact template slot, fuzzy types cannot be modified";
inline constexpr const char* _SPatternMatchError = " for pattern match = ";
inline constexpr const char* _SInitModuleAgain = "Module has already been initialized";
inline constexpr const char* _SWildcardParameterNotLast = "A wildcard parameter must be the last one; %s follows it";


// The help of each construct: its keyword, what it is for, its syntax.
inline constexpr const char* _SRuleKeyword = "defrule";
inline constexpr const char* _SFactSetKeyword = "deffacts";
inline constexpr const char* _SFactTemplateKeyword = "deftemplate";
inline constexpr const char* _SUserFunctionKeyword = "deffunction";
inline constexpr const char* _SDefGlobalKeyword = "defglobal";
inline constexpr const char* _SDefinedTypeKeyword = "deftype";
inline constexpr const char* _SModuleKeyword = "defmodule";
inline constexpr const char* _SFuzzyTermKeyword = "term";
inline constexpr const char* _SFunctionKeyword = "function";
inline constexpr const char* _SSyntax = "Syntax:";
inline constexpr const char* _SFactSetSyntax =
    "(deffacts <name> [\"comment\"] <fact>*)";
inline constexpr const char* _SFactTemplateSyntax =
    "(deftemplate [<module-name>::]<symbol-name> \r\n     [<string-comment>] \r\n     <slot-definition>*)\r\n\r\n<slot-definition>   =  (slot|field <symbol-name> <slot-attribute>*) | (multislot <symbol-name> <slot-attribute>*)\r\n<slot-attribute>   =  (default ?DERIVE|?NONE|<constant>|<variable>|<function-call>)\r\n         (default-dynamic <value-expression>) |\r\n         (type SYMBOL | ATOM | STRING | INTEGER | FLOAT |\r\n               LEXEME | NUMBER | CLASS | DESCRIPTOR | OBJECT |\r\n               EXTERNALADDRESS | FUZZY | FACT | FACTID |\r\n               ?VARIABLE | <deftype-name-expression>) |\r\n         (range ?VARIABLE|<numeric-expression> ?VARIABLE|<numeric-expression>)|\r\n         (cardinality ?VARIABLE|<integer-expression> ?VARIABLE|<integer-expression>)|\r\n         (allowed-values <expression>+)|\r\n         (allowed-lexemes <lexeme-expression>+) |\r\n         (allowed-strings <string-expression>+) |\r\n         (allowed-symbols <symbol-expression>+) |\r\n         (allowed-numbers <numeric-expression>+) |\r\n         (allowed-integers <integer-expression>+) |\r\n         (allowed-floats <float-expression>+) |\r\n         (units <string-expression>)\r\n::     = Module separator.  Module name is optional.  If not specified, a rule belongs to the currently active module";
inline constexpr const char* _SRuleSyntax =
    "(defrule [<module-name>::]<symbol-name>\r\n         [<string-comment>]\r\n         [(declare [(auto-focus <boolean-expression>])|\r\n                   [(salience <integer-expression>)]|\r\n                   [(oneshot <boolean-expression>])|\r\n                   [(enabled <boolean-expression>])]\r\n    <conditional-element>*\r\n    =>\r\n    <action>*)\r\n\r\n<conditional-element>   = <pattern> | ?<variable-name> <- <pattern> |\r\n          (test <function-call>) |\r\n          (not <conditional-element>) |\r\n          (unique <conditional-element>) |\r\n          (explicit <conditional-element>) |\r\n          (exists <conditional-element>+)\r\n<pattern>               = (<template-name> <slot>*)\r\n<slot>                  = (<slot-name> <constraint>*)\r\n<constraint>            = ? | $? | <connected-constraint>\r\n<connected-constraint>  = <single-constraint> | <<single-constraint>&<connected-constraint>> |\r\n          <<single-constraint>|<connected-constraint>>\r\n<single-constraint>     = <constant> | <variable> | :<function-call> | =<function-call> |\r\n         ~<constant> | ~<variable> | ~:<function-call> | ~=<function-call>\r\n<action>                = <constant>|<variable>|<function-call>\r\n::                      = Module separator.  Module name is optional.  If not specified, a rule belongs to the currently active module";
inline constexpr const char* _SUserFunctionSyntax =
    "(deffunction <function-name> (<argument>*)\r\n          [\"optional comment\"]\r\n          <statement>* \r\n)\r\n  where\r\n  <function-name> must be a unique name and\r\n  <statement> = <constant>|<variable>|<function-call>";
inline constexpr const char* _SDefGlobalSyntax =
    "(defglobal [?*<variable-name>* = <global-value>]+)\r\n  where\r\n  <variable-name> must be a unique name and \r\n  <global-value> = <constant>|<function-call>";
inline constexpr const char* _SDefinedTypeSyntax =
    "deftype [<module-name>::]<symbol-name>\r\n     [<string-comment>] extends <type-name>\r\n     [ [<range-definition>]\r\n       [<unit-definition>]\r\n       [<cardinality-definition>]\r\n       [<allowed-definition>*]\r\n     ] |\r\n     [fuzzy-variable-definition]\r\n\r\n<type-name>   =  (type <ATOM| STRING| INTEGER| FACTID| FLOAT| DESCRIPTOR| OBJECT| CLASS| EXTERNALADDRESS>+|FUZZY)\r\n<range-definition> =  (range <min-float-expression> <max-float-expression>)\r\n<unit-definition>   =  (units <string-expression>)\r\n<cardinality-definition> =  (range <min-float> <max-float>)\r\n<allowed-definition> =  (allowed-values <expression>+)|\r\n         (allowed-numbers <numeric-expression>+)|\r\n         (allowed-integers <integer-expression>+)|\r\n         (allowed-floats <float-expression>+)|\r\n         (allowed-lexemes <string-or-symbol-expression>+)\r\n         (allowed-symbols <symbol-expression>+)|\r\n         (allowed-strings <string-expression>+)\r\n<fuzzy-variable-definition>=  (range <min-float-expression> <max-float-expression>) [(values <fuzzy-term-definition>+)]\r\n<fuzzy-term-definition> =  (term <symbol-name> [<fuzzy-singletons>]|\r\n      [(s <leftbound-numeric-expression> <rightbound-numeric-expression>)]|\r\n      [(z <leftbound-numeric-expression> <rightbound-numeric-expression>)]|\r\n      [(tri <leftbound-numeric-expression> <center-numeric-expression> <rightbound-numeric-expression>)]|\r\n      [(pi [ <center-numeric-expression> <range-numeric-expression> ] | [ <left-numeric-expression> <center-numeric-expression> <right-numeric-expression> ])]\r\n<fuzzy-singletons> = ((x0 y0)+)\r\n::     = Module separator.  Module name is optional.  If not specified, a rule belongs to the currently active module";
inline constexpr const char* _SModuleSyntax =
    "(defmodule <symbol-name> [<string-comment>] [[<export-statement>]|[<import-statement>*]])\r\n\r\n<export-statement>   =\r\n              (export ?ALL)|\r\n              (export ?NONE)|\r\n              (export deftype|deftemplate ?ALL)|\r\n              (export deftype|deftemplate ?NONE)|\r\n              (export deftype|deftemplate <names>+)\r\n<import-statement>   =\r\n              (import <module-name> ?ALL)|\r\n              (import <module-name> ?NONE)|\r\n              (import <module-name> deftype|deftemplate ?ALL)|\r\n              (import <module-name> deftype|deftemplate ?NONE)|\r\n              (import <module-name> deftype|deftemplate <construct-names>+)\r\n<construct-names>   = (<template-name> | <deftype-name>*)\r\n?ALL        = literal, meaning to import/export all constructs of that type for the module\r\n?NONE       = literal, meaning to import/export NO constructs of that type for the module";
inline constexpr const char* _SFactSetComment =
    "Fact sets, or deffacts, define the initial pieces of knowledge or data in your expert system.  Facts sets are a collection of facts which are automatically asserted every time the inference engine is reset.  The facts define the initial state of the world of your expert system, i.e.,  the people in it, the objects in it, etc.";
inline constexpr const char* _SRuleComment =
    "Rules, or defrule, define the \"code\" of your expert system.  They manipulate the facts in the expert system to infer new facts or to perform actions.  Rules are basically IF-THEN constructs for reasoning about the domain.  The inference engine matches rule conditions (the IF portion) with facts in the expert system and flags rules which have been matched (called a rule activation).  After the inference engine has determined all the rule matches, it selects one rule based on its strategy and a rule salience (priority) and fires that rule.  When a rule is fired, its actions (the THEN portion) are executed one by one.";
inline constexpr const char* _SUserFunctionComment =
    "DefFunctions are defined functions, e.g., functions that are defined by an expert system and not the inference engine, or interpreted functions.  They act like interpreted macros for simplifying the writing of expert systems.  The functions must be defined before they are actually used or a syntax error will result.  Every deffunction must have a unique name, not just unique among deffunctions but among all functions defined in the inference engine.";
inline constexpr const char* _SDefGlobalComment =
    "DefGlobals are global variables which are accessible from any rule or deffunction.  Global variables may contains simple values, such as an integer or string, or the result of a function call, such as (time) which would set a global variable to the current time.  Global variables which are set by a function call are only evaluated at their creation and possibly when the inference engine is Reset.";
inline constexpr const char* _SDefTypeComment =
    "Defined Types, or deftype, are an extension construct to define types that allow type inheritance, enumerations, range checking, and fuzzy sets.  Defined types are required to use the fuzzy logic features of the engine.  The DefType serves as a type definition (and type constraint) and is used to define the types of fact template slots.";
inline constexpr const char* _SModuleComment =
    "DefModules, or modules, allow you to logically partition the knowledge in your expert system into multiple modules.  A DefModule contains its own Type Definitions, Fact Templates, Facts, Rules, Fact Sets, Agenda, and Rete network.  In addition to completely separate constructs, the engine allows you to selectively share Type Definitions, Fact Templates, and Facts.  A DefModule allows you to set up your expert system where each module can reason in its own domain space (enabling simpler and easier to debug rules) and share information between the modules.  The engine allows you to execute in one module, pause its execution, execute in another module, and then switch back.";
inline constexpr const char* _SDefTemplateComment =
    "Fact templates, or deftemplate, define a fact type or class: the relation name for a group of facts "
    "and zero or more slots that hold the properties of the class.  A fact of a template names its slots, "
    "so that rules can match them in any order, and each slot can constrain its values by type, range, "
    "cardinality and allowed values.";

}  // namespace cogent
