// The miscellaneous package: what a user types at the prompt to look at the
// knowledge base and change it, and dates and times. Lists go out in one
// piece on the default channel.

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

#include "cogent/functions/StandardPackage.h"
#include "cogent/host/DateUtils.h"
#include "cogent/rules/ActivationAgenda.h"
#include "cogent/host/Guards.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TMiscPackage, TUserPackage>();
  RegisterClass<TAgendaFunction, TKBUserFunction>();
  RegisterClass<TListRulesFunction, TKBUserFunction>();
  RegisterClass<TListDefTypesFunction, TKBUserFunction>();
  RegisterClass<TListFactSetsFunction, TKBUserFunction>();
  RegisterClass<TListTemplatesFunction, TKBUserFunction>();
  RegisterClass<TListFunctionsFunction, TKBUserFunction>();
  RegisterClass<TListDefModulesFunction, TKBUserFunction>();
  RegisterClass<TListFocusStackFunction, TKBUserFunction>();
  RegisterClass<TListVariablesFunction, TKBUserFunction>();
  RegisterClass<TShowFactsFunction, TKBUserFunction>();
  RegisterClass<TShowRulesFunction, TKBUserFunction>();
  RegisterClass<TPrettyPrintFunction, TKBUserFunction>();
  RegisterClass<TUnDefRuleFunction, TKBUserFunction>();
  RegisterClass<TUnDefFactsFunction, TKBUserFunction>();
  RegisterClass<TUnDefFunctionFunction, TKBUserFunction>();
  RegisterClass<TUnDefTemplateFunction, TKBUserFunction>();
  RegisterClass<TUnDefTypeFunction, TKBUserFunction>();
  RegisterClass<TIsKBStructFunction, TKBUserFunction>();
  RegisterClass<TKBParseFunction, TKBUserFunction>();
  RegisterClass<TGuardFunction, TKBUserFunction>();
  RegisterClass<TGenSymStarFunction, TKBUserFunction>();
  RegisterClass<TSetGenFunction, TKBUserFunction>();
  RegisterClass<TResetGlobalsFunction, TKBUserFunction>();
  RegisterClass<TGetStaticCheckFunction, TKBUserFunction>();
  RegisterClass<TGetDynamicCheckFunction, TKBUserFunction>();
  RegisterClass<TSetStaticCheckFunction, TKBUserFunction>();
  RegisterClass<TSetDynamicCheckFunction, TKBUserFunction>();
  RegisterClass<TTimeFunction, TKBUserFunction>();
  RegisterClass<TSystemDateTimeFunction, TKBUserFunction>();
  RegisterClass<TDateTimeStringFunction, TKBUserFunction>();
  RegisterClass<TDecodeDateTimeFunction, TKBUserFunction>();
  RegisterClass<TEncodeDateTimeFunction, TKBUserFunction>();
  return true;
}();

// Our own text: a rule cannot be taken away under its own firing.
constexpr const char* SRuleFiring = "Rule %s cannot be removed while it fires";

constexpr const char* ModuleListArguments = "[<module-name-expression>|*]";

constexpr TFamilyMember ListVariablesFunctions[] = {
    {"list-defglobals", "Lists the names of the global variables", "", 0, 0},
    {"list-bindings", "Lists the names of the variables bound where the call stands", "", 0, 0},
};

constexpr TFamilyMember PrettyPrintFunctions[] = {
    {"ppdeffacts", "Returns the text of the fact set", " <fact-set-name>", 1, 1},
    {"ppdeffunction", "Returns the text of the function, or the syntax of a construct", " <function-name>", 1, 1},
    {"ppdeftemplate", "Returns the text of the fact template", " <fact-template-name>", 1, 1},
    {"ppdefrule", "Returns the text of the rule", " <rulename>", 1, 1},
    {"ppdeftype", "Returns the text of the defined type", " <type-name>", 1, 1},
    {"ppdefmodule", "Returns the text of the module", " <module-name>", 1, 1},
};
// The word of each kind in the error for an unknown name.
constexpr const char* PrettyPrintWords[] = {"fact set",  "user function", "fact template",
                                            "rule",      "defined type",  "module"};

constexpr TFamilyMember IsKBStructFunctions[] = {
    {"is-binding", "Returns TRUE if a variable of that name is bound", "<string-expression>", 1, 1},
    {"is-deftype", "Returns TRUE if a defined type has that name", "<string-expression>", 1, 1},
    {"is-deffunction", "Returns TRUE if a function has that name", "<string-expression>", 1, 1},
    {"is-defglobal", "Returns TRUE if a global variable has that name", "<string-expression>", 1, 1},
    {"is-defrule", "Returns TRUE if a rule has that name", "<string-expression>", 1, 1},
    {"is-deffacts", "Returns TRUE if a fact set has that name", "<string-expression>", 1, 1},
    {"is-deftemplate", "Returns TRUE if a fact template has that name", "<string-expression>", 1, 1},
};

constexpr TFamilyMember SystemDateTimeFunctions[] = {
    {"system-datetime", "Returns the present date and time", "", 0, 0},
    {"system-date", "Returns today's date", "", 0, 0},
    {"system-time", "Returns the present time of day", "", 0, 0},
};

constexpr TFamilyMember DateTimeStringFunctions[] = {
    {"str-datetime", "Reads a date and time", " <string-expression> ", 1, 1},
    {"str-date", "Reads a date", " <string-expression> ", 1, 1},
    {"str-time", "Reads a time of day", " <string-expression> ", 1, 1},
    {"datetime-str", "Writes a date and time", " <numeric-expression> ", 1, 1},
    {"date-str", "Writes the date of a date and time", " <numeric-expression> ", 1, 1},
    {"time-str", "Writes the time of a date and time", " <numeric-expression> ", 1, 1},
    {"datetime-str-format", "Writes a date and time by the format",
     " <numeric-expression> <format-string-expression>", 2, 2},
};

constexpr TFamilyMember DecodeDateTimeFunctions[] = {
    {"decode-year", "Returns the year of a date", " <system-date-numeric-expression>", 1, 1},
    {"decode-month", "Returns the month of a date", " <system-date-numeric-expression>", 1, 1},
    {"decode-day", "Returns the day of the month of a date", " <system-date-numeric-expression>", 1, 1},
    {"decode-hour", "Returns the hour of a time", " <system-time-numeric-expression>", 1, 1},
    {"decode-minute", "Returns the minute of a time", " <system-time-numeric-expression>", 1, 1},
    {"decode-second", "Returns the second of a time", " <system-time-numeric-expression>", 1, 1},
    {"decode-millisecond", "Returns the millisecond of a time", " <system-time-numeric-expression>", 1, 1},
};

constexpr TFamilyMember EncodeDateTimeFunctions[] = {
    {"encode-date", "Returns the date; month and day default to 1",
     " <year-integer-expression> [<month-integer-expression> [<day-integer-expression>]]", 1, 3},
    {"encode-time", "Returns the time of day; minute, second and millisecond default to 0",
     " <hour-integer-expression> [<minute-integer-expression> [<second-integer-expression> "
     "[<millisecond-integer-expression>]]]",
     1, 4},
};

void SortNames(std::vector<std::string>& Names) {
  std::stable_sort(Names.begin(), Names.end(),
                   [](const std::string& A, const std::string& B) { return CompareText(A, B) < 0; });
}

std::string Lines(const std::vector<std::string>& Items, const std::string& Indent = std::string()) {
  std::string Result;
  for (const std::string& Item : Items) Result += Indent + Item + sLineBreak;
  return Result;
}

void PrintTotal(TInferenceEngine& Engine, const std::string& Text, std::size_t Count, const char* Word) {
  Engine.PrintOut("", Text + "for a total of " + std::to_string(Count) + Word + sLineBreak);
}

// What one module shows in a list, and how many items that is.
using TModuleLister = std::function<std::size_t(TModule& Module, std::string& Text)>;

// The lists that take a module: none for the current one, "*" for all of
// them, each in a section of its own, or one by name.
void ListByModule(const IFunCall& FunCall, TKBContext* Context, const char* Word, const TModuleLister& List) {
  TInferenceEngine& Engine = EngineOf(Context);
  std::string Text;
  std::size_t Count = 0;
  if (FunCall->GetArgumentCount() == 0) {
    Count = List(*Engine.GetCurrentModule(), Text);
  } else {
    const std::string Name = TextOf(FunCall, 0, Context);
    if (Name == "*") {
      for (const IModule& Module : *Engine.GetModules()) {
        if (!Module) continue;
        std::string Section;
        Count += List(*Module, Section);
        std::string Indented;
        std::size_t Start = 0;
        while (Start < Section.size()) {
          std::size_t End = Section.find(sLineBreak, Start);
          if (End == std::string::npos) End = Section.size();
          Indented += "   " + Section.substr(Start, End - Start) + sLineBreak;
          Start = End + std::string(sLineBreak).size();
        }
        Text += TrimRight(Module->GetName() + ":" + sLineBreak + Indented) + sLineBreak;
      }
    } else {
      Count = List(*Engine.GetModules()->GetModule(Name), Text);
    }
  }
  PrintTotal(Engine, Text, Count, Word);
}

template <class Table>
std::size_t SortedKeys(const Table* Collection, std::string& Text) {
  if (!Collection) return 0;
  std::vector<std::string> Names = Collection->GetKeys().ToArray();
  SortNames(Names);
  Text += Lines(Names);
  return Names.size();
}

// The table of Name's module part, or the current one's; Name loses the part.
TModule& ModuleOfName(TInferenceEngine& Engine, std::string& Name) {
  std::string ModuleName;
  Name = Engine.ParseFullName(Name, ModuleName);
  if (ModuleName.empty()) return *Engine.GetCurrentModule();
  return *Engine.GetModules()->GetModule(ModuleName);
}

TRule* FiringRule(const TInferenceEngine& Engine) {
  const TActivation* Activation = Engine.GetCurrentAgendaItem();
  if (!Activation || !Activation->GetRule()) return nullptr;
  return dynamic_cast<TRule*>(Activation->GetRule()->GetRuleComponent());
}

// A removal that would free the rule whose actions are running is refused.
void CheckNotFiring(const TInferenceEngine& Engine, const TRule* Rule) {
  if (Rule && Rule == FiringRule(Engine)) throw EKBException(Format(SRuleFiring, Rule->GetRuleName()));
}

std::int32_t OptionalInteger(const IFunCall& FunCall, int Index, TKBContext* Context, std::int32_t Default) {
  return FunCall->GetArgumentCount() > Index ? IntegerOf(FunCall, Index, Context) : Default;
}

}  // namespace

// ---------------------------------------------------------------- the package

TMiscPackage::TMiscPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) { Construct(); }

TMiscPackage::~TMiscPackage() { Destroying(); }

void TMiscPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFunction<TAgendaFunction>();
  AddFunction<TListRulesFunction>();
  AddFunction<TListDefTypesFunction>();
  AddFunction<TListFactSetsFunction>();
  AddFunction<TListTemplatesFunction>();
  AddFunction<TListFunctionsFunction>();
  AddFunction<TListDefModulesFunction>();
  AddFunction<TListFocusStackFunction>();
  for (const TFamilyMember& Member : ListVariablesFunctions) AddFunction<TListVariablesFunction>(TKBName(Member.Name));
  AddFunction<TShowFactsFunction>();
  AddFunction<TShowRulesFunction>();
  for (const TFamilyMember& Member : PrettyPrintFunctions) AddFunction<TPrettyPrintFunction>(TKBName(Member.Name));
  AddFunction<TUnDefRuleFunction>();
  AddFunction<TUnDefFactsFunction>();
  AddFunction<TUnDefFunctionFunction>();
  AddFunction<TUnDefTemplateFunction>();
  AddFunction<TUnDefTypeFunction>();
  for (const TFamilyMember& Member : IsKBStructFunctions) AddFunction<TIsKBStructFunction>(TKBName(Member.Name));
  AddFunction<TKBParseFunction>();
  AddFunction<TGuardFunction>();
  AddFunction<TGenSymStarFunction>();
  AddFunction<TSetGenFunction>();
  AddFunction<TResetGlobalsFunction>();
  AddFunction<TGetStaticCheckFunction>();
  AddFunction<TGetDynamicCheckFunction>();
  AddFunction<TSetStaticCheckFunction>();
  AddFunction<TSetDynamicCheckFunction>();
  AddFunction<TTimeFunction>();
  for (const TFamilyMember& Member : SystemDateTimeFunctions)
    AddFunction<TSystemDateTimeFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : DateTimeStringFunctions)
    AddFunction<TDateTimeStringFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : DecodeDateTimeFunctions)
    AddFunction<TDecodeDateTimeFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : EncodeDateTimeFunctions)
    AddFunction<TEncodeDateTimeFunction>(TKBName(Member.Name));
}

// ---------------------------------------------------------------- lists

void TAgendaFunction::InitMetaData() {
  Describe("agenda", "Prints the activations of the agenda", ModuleListArguments, 0, 1);
}

void TAgendaFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  // The agenda keeps its own order.
  ListByModule(FunCall, Context, " activations.", [](TModule& Module, std::string& Text) -> std::size_t {
    const TKBAgenda* Agenda = Module.GetAgenda();
    if (!Agenda) return 0;
    Text += Agenda->ToString();
    return static_cast<std::size_t>(Agenda->GetCount());
  });
  Result = FCNil;
}

void TListRulesFunction::InitMetaData() {
  Describe("list-defrules", "Prints the names of the rules", ModuleListArguments, 0, 1);
}

void TListRulesFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  ListByModule(FunCall, Context, " rules.",
               [](TModule& Module, std::string& Text) { return SortedKeys(Module.GetRules(), Text); });
  Result = FCNil;
}

void TListDefTypesFunction::InitMetaData() {
  Describe("list-deftypes", "Prints the names of the defined types", ModuleListArguments, 0, 1);
}

void TListDefTypesFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  ListByModule(FunCall, Context, " deftypes.",
               [](TModule& Module, std::string& Text) { return SortedKeys(Module.GetDefinedTypes(), Text); });
  Result = FCNil;
}

void TListFactSetsFunction::InitMetaData() {
  Describe("list-deffacts", "Prints the names of the fact sets", ModuleListArguments, 0, 1);
}

void TListFactSetsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  ListByModule(FunCall, Context, " deffacts.", [](TModule& Module, std::string& Text) -> std::size_t {
    const TFactSets* FactSets = Module.GetFactSets();
    if (!FactSets) return 0;
    std::vector<std::string> Names;
    for (int I = 0; I < FactSets->GetCount(); ++I)
      if (const TFactSet* FactSet = FactSets->GetItem(I)) Names.push_back(FactSet->GetFactSetName());
    SortNames(Names);
    Text += Lines(Names);
    return Names.size();
  });
  Result = FCNil;
}

void TListTemplatesFunction::InitMetaData() {
  Describe("list-deftemplates", "Prints the names of the fact templates", ModuleListArguments, 0, 1);
}

void TListTemplatesFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  ListByModule(FunCall, Context, " deftemplates.",
               [](TModule& Module, std::string& Text) { return SortedKeys(Module.GetFactTemplates(), Text); });
  Result = FCNil;
}

void TListFunctionsFunction::InitMetaData() {
  Describe("list-deffunctions", "Prints the names of all functions, built-in ones too", "", 0, 1);
}

void TListFunctionsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::string Text;
  const std::size_t Count = SortedKeys(Engine.GetUserFunctions(), Text);
  PrintTotal(Engine, Text, Count, " deffunctions.");
  Result = FCNil;
}

void TListDefModulesFunction::InitMetaData() {
  Describe("list-defmodules", "Prints the names of the modules", "", 0, 0);
}

void TListDefModulesFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::vector<std::string> Names;
  for (const IModule& Module : *Engine.GetModules())
    if (Module) Names.push_back(Module->GetName());
  SortNames(Names);
  PrintTotal(Engine, Lines(Names), Names.size(), " defmodules.");
  Result = FCNil;
}

void TListFocusStackFunction::InitMetaData() {
  Describe("list-focus-stack", "Prints the modules of the focus stack, the top first", "", 0, 0);
}

void TListFocusStackFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::vector<std::string> Names;
  for (const IModule& Module : *Engine.GetFocusStack())
    if (Module) Names.push_back(Module->GetName());
  if (!Names.empty()) Engine.PrintOut("", Lines(Names));
  Result = FCNil;
}

TListVariablesFunction::TListVariablesFunction() { SetFunctionName(ListVariablesFunctions[0].Name); }

void TListVariablesFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(ListVariablesFunctions, Value, FFunctionType);
}

void TListVariablesFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::vector<std::string> Names;
  if (FFunctionType == lvDefGlobals) {
    Names = Engine.GetGlobalVariables()->GetKeys().ToArray();
  } else {
    for (const TKBContext* Scope = &ContextOf(Context); Scope; Scope = Scope->GetParent())
      for (const std::string& Name : Scope->GetBindings().GetKeys().ToArray()) Names.push_back(Name);
  }
  SortNames(Names);
  PrintTotal(Engine, Lines(Names), Names.size(), " bindings.");
  Result = FCNil;
}

void TShowFactsFunction::InitMetaData() {
  Describe("facts", "Prints the facts by id, of one module or of all",
           " [<module-name-expression>|*] [<start-integer-expression> [<end-integer-expression> "
           "[<max-integer-expression>]]]",
           0, 4);
}

void TShowFactsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::vector<std::string> Shown;
  if (FunCall->GetArgumentCount() == 0) {
    for (const IFact& Fact : *Engine.GetFacts())
      if (Fact) Shown.push_back(Fact->GetToIDString());
  } else {
    // Either the current facts and the numbers from argument 0 on, or a
    // module (or "*") and the numbers after it.
    const IKBValue First = Evaluate(FunCall, 0, Context);
    const bool CurrentFacts = First->GetDType() == dtInteger;
    const int From = CurrentFacts ? 0 : 1;
    // Wide enough that counting down from any integer cannot overflow.
    std::int64_t Max = OptionalInteger(FunCall, From + 2, Context, std::numeric_limits<std::int32_t>::max());
    const std::int32_t End = OptionalInteger(FunCall, From + 1, Context, std::numeric_limits<std::int32_t>::max());
    const std::int32_t Start = OptionalInteger(FunCall, From, Context, -std::numeric_limits<std::int32_t>::max());
    std::vector<TFacts*> Lists;
    if (CurrentFacts) {
      Lists.push_back(Engine.GetFacts());
    } else if (const std::string Name = First->GetAsString(); Name == "*") {
      for (const IModule& Module : *Engine.GetModules())
        if (Module) Lists.push_back(Module->GetFacts());
    } else {
      Lists.push_back(Engine.GetModules()->GetModule(Name)->GetFacts());
    }
    bool Done = false;
    for (const TFacts* Facts : Lists) {
      if (!Facts || Done) continue;
      for (const IFact& Fact : *Facts) {
        if (!Fact || Fact->GetID() < Start || Fact->GetID() > End) continue;
        std::string Line = Fact->GetToIDString();
        // A fact that modules share is shown once.
        if (std::find(Shown.begin(), Shown.end(), Line) != Shown.end()) continue;
        Shown.push_back(std::move(Line));
        if (--Max == 0) {
          Done = true;
          break;
        }
      }
    }
  }
  SortNames(Shown);
  Engine.PrintOut("", Lines(Shown) + "For a total of " + std::to_string(Shown.size()) + " facts." + sLineBreak);
  Result = FCTrue;
}

void TShowRulesFunction::InitMetaData() {
  Describe("rules", "Prints the rules of the current module", "[<logical-name>]", 0, 1);
}

void TShowRulesFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string Channel = FunCall->GetArgumentCount() > 0 ? TextOf(FunCall, 0, Context) : std::string();
  const TRules* Rules = Engine.GetRules();
  std::int32_t Count = 0;
  if (Rules) {
    for (TRule* Rule : Rules->GetValues().ToArray()) {
      if (!Rule) continue;
      std::string Text = Rule->ToString();
      if (Text.size() < 2 || Text.compare(Text.size() - 2, 2, sLineBreak) != 0) Text += sLineBreak;
      Engine.PrintOut(Channel, Text);
    }
    Count = Rules->GetCount();
  }
  Engine.PrintOut(Channel, "For a total of " + std::to_string(Count) + " rules." + sLineBreak);
  Result = FCTrue;
}

// ---------------------------------------------------------------- pretty printing

TPrettyPrintFunction::TPrettyPrintFunction() { SetFunctionName(PrettyPrintFunctions[0].Name); }

void TPrettyPrintFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(PrettyPrintFunctions, Value, FFunctionType);
}

void TPrettyPrintFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string Written = TextOf(FunCall, 0, Context);
  const auto Unknown = [&] { return EKBException(Format(_SUnknownName, PrettyPrintWords[FFunctionType], Written)); };
  std::string Text;
  switch (FFunctionType) {
    case ppfUserFunction: {
      IUserFunction Function;
      if (Engine.ContainsUserFunction(Written, Function) && Function) {
        Text = Function->ToString(&Engine);
      } else {
        // A construct keyword gives the construct's syntax.
        TKBParser* Parser = Engine.GetParser();
        const TParsedType Construct = Parser ? Parser->FindConstructType(Written) : ptNone;
        if (Construct == ptNone) throw Unknown();
        Text = Parser->PrettyPrint(Construct);
      }
      break;
    }
    case ppfDefModule: {
      const int Index = Engine.GetModules()->IndexOf(Written);
      if (Index < 0) throw Unknown();
      Text = Engine.GetModules()->Get(Index)->ToString();
      break;
    }
    default: {
      std::string Name = Written;
      TModule& Module = ModuleOfName(Engine, Name);
      switch (FFunctionType) {
        case ppfFactSet: {
          const TFactSets* FactSets = Module.GetFactSets();
          const int Index = FactSets ? FactSets->IndexOf(Name) : -1;
          if (Index < 0) throw Unknown();
          Text = FactSets->GetItem(Index)->ToString();
          break;
        }
        case ppfFactTemplate: {
          IFactTemplate Template;
          if (!Module.GetFactTemplates() || !Module.GetFactTemplates()->TryGetValue(Name, Template) || !Template)
            throw Unknown();
          Text = Engine.PrettyPrint(Template);
          break;
        }
        case ppfRule: {
          TRule* Rule = nullptr;
          if (!Module.GetRules() || !Module.GetRules()->TryGetValue(Name, Rule) || !Rule) throw Unknown();
          Text = Rule->ToString();
          break;
        }
        case ppfDefType: {
          IKBDefinedType DefType;
          if (!Module.GetDefinedTypes() || !Module.GetDefinedTypes()->TryGetValue(Name, DefType) || !DefType)
            throw Unknown();
          Text = Engine.PrettyPrint(*DefType);
          break;
        }
        default:
          break;
      }
    }
  }
  Result = NewAtom(Text);
}

// ---------------------------------------------------------------- removal

void TUnDefRuleFunction::InitMetaData() { Describe("undefrule", "Removes the rule", " <rule-name>", 1, 1); }

void TUnDefRuleFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::string Name = TextOf(FunCall, 0, Context);
  TRules* Rules = ModuleOfName(Engine, Name).GetRules();
  TRule* Rule = nullptr;
  if (!Rules || !Rules->TryGetValue(Name, Rule)) {
    Result = FCFalse;
    return;
  }
  CheckNotFiring(Engine, Rule);
  Rules->Remove(Name, Rule);
  Result = FCTrue;
}

void TUnDefFactsFunction::InitMetaData() {
  Describe("undeffacts", "Removes the fact set", " <fact-set-name>", 1, 1);
}

void TUnDefFactsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::string Name = TextOf(FunCall, 0, Context);
  TFactSets* FactSets = ModuleOfName(Engine, Name).GetFactSets();
  const int Index = FactSets ? FactSets->IndexOf(Name) : -1;
  if (Index < 0) {
    Result = FCFalse;
    return;
  }
  TFactSet* FactSet = FactSets->GetItem(Index);
  FactSets->Delete(Index);
  // The engine owns what it read; a host's own set stays the host's.
  if (FactSet && FactSet->GetOwner() == &Engine) delete FactSet;
  Result = FCTrue;
}

void TUnDefFunctionFunction::InitMetaData() {
  Describe("undeffunction", "Removes the function", " <function-name>", 1, 1);
}

void TUnDefFunctionFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string Name = TextOf(FunCall, 0, Context);
  if (!Engine.ContainsUserFunction(Name)) {
    Result = FCFalse;
    return;
  }
  // The call lets go of its own function, so that the function can remove
  // itself.
  if (FunCall->GetUserFunction() && FunCall->GetUserFunction()->GetFunctionName() == Name)
    FunCall->SetUserFunction(nullptr);
  Engine.GetUserFunctions()->Remove(Name);
  Result = FCTrue;
}

void TUnDefTemplateFunction::InitMetaData() {
  Describe("undeftemplate", "Removes the fact template with its facts and the rules that match it",
           " <fact-template-name>", 1, 1);
}

void TUnDefTemplateFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::string Name = TextOf(FunCall, 0, Context);
  TFactTemplates* Templates = ModuleOfName(Engine, Name).GetFactTemplates();
  IFactTemplate Template;
  if (!Templates || !Templates->TryGetValue(Name, Template) || !Template) {
    Result = FCFalse;
    return;
  }
  // The rules that match the template go with it.
  if (const TRule* Rule = FiringRule(Engine); Rule && TInferenceEngine::IsDependent(*Rule, Template))
    CheckNotFiring(Engine, Rule);
  Templates->Remove(Name);
  Result = FCTrue;
}

void TUnDefTypeFunction::InitMetaData() {
  Describe("undeftype", "Removes the defined type with the templates that use it",
           "<defined-type-name-expression>", 1, 1);
}

void TUnDefTypeFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::string Name = TextOf(FunCall, 0, Context);
  TModule& Module = ModuleOfName(Engine, Name);
  TKBDefinedTypes* Types = Module.GetDefinedTypes();
  IKBDefinedType DefType;
  if (!Types || !Types->TryGetValue(Name, DefType) || !DefType) {
    Result = FCFalse;
    return;
  }
  // The templates that use the type go, and with them their rules.
  if (const TRule* Rule = FiringRule(Engine); Rule && Module.GetFactTemplates())
    for (const IFactTemplate& Template : Module.GetFactTemplates()->GetValues().ToArray())
      if (Template && Template->ContainsType(DefType) != nullptr && TInferenceEngine::IsDependent(*Rule, Template))
        CheckNotFiring(Engine, Rule);
  Types->Remove(Name);
  Result = FCTrue;
}

// ---------------------------------------------------------------- structure tests

TIsKBStructFunction::TIsKBStructFunction() { SetFunctionName(IsKBStructFunctions[0].Name); }

void TIsKBStructFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(IsKBStructFunctions, Value, FFunctionType);
}

void TIsKBStructFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string Name = TextOf(FunCall, 0, Context);
  bool Found = false;
  switch (FFunctionType) {
    case sfIsBinding:
      Found = ContextOf(Context).FindBinding(Name) != nullptr;
      break;
    case sfIsDefType:
      Found = Engine.GetDefinedTypes() && Engine.GetDefinedTypes()->ContainsKey(Name);
      break;
    case sfIsDefFunction:
      Found = Engine.ContainsUserFunction(Name);
      break;
    case sfIsDefGlobal:
      Found = Engine.GetGlobalVariables()->ContainsKey(Name);
      break;
    case sfIsDefRule:
      Found = Engine.GetRules() && Engine.GetRules()->ContainsKey(Name);
      break;
    case sfIsDefFacts:
      Found = Engine.GetFactSets() && Engine.GetFactSets()->IndexOf(Name) >= 0;
      break;
    case sfIsDefTemplate:
      Found = Engine.GetFactTemplates() && Engine.GetFactTemplates()->ContainsKey(Name);
      break;
  }
  Result = Truth(Found);
}

// ---------------------------------------------------------------- others

void TKBParseFunction::InitMetaData() {
  Describe("parse", "Reads the text as engine commands and runs them; FALSE when it fails", "<string-expression>",
           1, 1);
}

void TKBParseFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  try {
    EngineOf(Context).Parse(TextOf(FunCall, 0, Context), true, nullptr);
    Result = FCTrue;
  } catch (const EAbort&) {
    // exit is no error: it leaves, whatever stands around it.
    throw;
  } catch (const std::exception&) {
    Result = FCFalse;
  }
}

void TGuardFunction::InitMetaData() {
  Describe("guard", "Evaluates the arguments without letting the firing rule be activated by them",
           "<function-call-argument>+", 1);
}

void TGuardFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  TRule* Rule = FiringRule(Engine);
  const bool Enabled = Rule && Rule->GetEnabled();
  if (Rule) Rule->SetEnabled(false);
  const TFinally Restore([&Engine, Rule, Enabled] {
    // The rule may have gone with what the arguments did.
    if (Rule && FiringRule(Engine) == Rule) Rule->SetEnabled(Enabled);
  });
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) Result = ResolveArgument(FunCall, I, Context);
}

void TGenSymStarFunction::InitMetaData() { Describe("gensym*", "Returns a new atom: gen0, gen1, ...", "", 0, 0); }

void TGenSymStarFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = NewAtom(EngineOf(Context).GenerateSymbol("gen"));
}

void TSetGenFunction::InitMetaData() {
  Describe("setgen", "Sets the number of the next atom of gensym*", " <integer-expression>", 1, 1);
}

void TSetGenFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  EngineOf(Context).SetSymbolIndex(IntegerOf(FunCall, 0, Context));
}

void TResetGlobalsFunction::InitMetaData() {
  Describe("set-reset-globals", "Sets or returns whether reset gives the globals their initial values",
           " [<boolean-expression>]", 0, 1);
}

void TResetGlobalsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  if (FunCall->GetArgumentCount() == 0) {
    Result = Truth(Engine.GetResetGlobals());
    return;
  }
  Result = Evaluate(FunCall, 0, Context);
  Engine.SetResetGlobals(Result->Equals(FCTrue));
}

namespace {

IKBValue SetTypeCheck(const IFunCall& FunCall, TKBContext* Context, TTypeCheck Check) {
  TInferenceEngine& Engine = EngineOf(Context);
  const IKBValue Previous = Truth(Engine.GetTypeChecks().Contains(Check));
  TTypeChecks Checks = Engine.GetTypeChecks();
  // Only TRUE turns the check on.
  if (Evaluate(FunCall, 0, Context)->Equals(FCTrue))
    Checks.Include(Check);
  else
    Checks.Exclude(Check);
  Engine.SetTypeChecks(Checks);
  return Previous;
}

}  // namespace

void TGetStaticCheckFunction::InitMetaData() {
  Describe("get-static-constraint-checking", "Returns TRUE if values are checked as they are read", "", 0, 0);
}

void TGetStaticCheckFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(EngineOf(Context).GetTypeChecks().Contains(tcStatic));
}

void TGetDynamicCheckFunction::InitMetaData() {
  Describe("get-dynamic-constraint-checking", "Returns TRUE if values are checked as they are asserted", "", 0, 0);
}

void TGetDynamicCheckFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(EngineOf(Context).GetTypeChecks().Contains(tcDynamic));
}

void TSetStaticCheckFunction::InitMetaData() {
  Describe("set-static-constraint-checking", "Turns the check as values are read on for TRUE, off otherwise",
           " <boolean-expression>", 1, 1);
}

void TSetStaticCheckFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = SetTypeCheck(FunCall, Context, tcStatic);
}

void TSetDynamicCheckFunction::InitMetaData() {
  Describe("set-dynamic-constraint-checking", "Turns the check as values are asserted on for TRUE, off otherwise",
           " <boolean-expression>", 1, 1);
}

void TSetDynamicCheckFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = SetTypeCheck(FunCall, Context, tcDynamic);
}

// ---------------------------------------------------------------- dates and times

void TTimeFunction::InitMetaData() { Describe("time", "Returns the seconds since midnight", "", 0, 0); }

void TTimeFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = NewFloat(Time() * 86400.0);
}

TSystemDateTimeFunction::TSystemDateTimeFunction() { SetFunctionName(SystemDateTimeFunctions[0].Name); }

void TSystemDateTimeFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(SystemDateTimeFunctions, Value, FFunctionType);
}

void TSystemDateTimeFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TDateTime Value = Now();
  switch (FFunctionType) {
    case sdtDateTime:
      Result = NewFloat(Value);
      break;
    case sdtDate:
      Result = NewFloat(std::trunc(Value));
      break;
    case sdtTime:
      Result = NewFloat(Value - std::trunc(Value));
      break;
  }
}

TDateTimeStringFunction::TDateTimeStringFunction() { SetFunctionName(DateTimeStringFunctions[0].Name); }

void TDateTimeStringFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(DateTimeStringFunctions, Value, FFunctionType);
}

void TDateTimeStringFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  switch (FFunctionType) {
    case dtsStrDateTime:
      Result = NewFloat(StrToDateTime(TextOf(FunCall, 0, Context)));
      break;
    case dtsStrDate:
      Result = NewFloat(StrToDate(TextOf(FunCall, 0, Context)));
      break;
    case dtsStrTime:
      Result = NewFloat(StrToTime(TextOf(FunCall, 0, Context)));
      break;
    case dtsDateTimeStr:
      Result = NewString(DateTimeToStr(NumberOf(FunCall, 0, Context)));
      break;
    case dtsDateStr:
      Result = NewString(DateToStr(NumberOf(FunCall, 0, Context)));
      break;
    case dtsTimeStr:
      Result = NewString(TimeToStr(NumberOf(FunCall, 0, Context)));
      break;
    case dtsDateTimeStrFormat: {
      const std::string Form = KBStringToString(TextOf(FunCall, 1, Context));
      Result = NewString(FormatDateTime(Form, NumberOf(FunCall, 0, Context)));
      break;
    }
  }
}

TDecodeDateTimeFunction::TDecodeDateTimeFunction() { SetFunctionName(DecodeDateTimeFunctions[0].Name); }

void TDecodeDateTimeFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(DecodeDateTimeFunctions, Value, FFunctionType);
}

void TDecodeDateTimeFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TDateTime Value = NumberOf(FunCall, 0, Context);
  std::int32_t Parts[7] = {};
  if (FFunctionType <= ddtDay)
    DecodeDate(Value, Parts[ddtYear], Parts[ddtMonth], Parts[ddtDay]);
  else
    DecodeTime(Value, Parts[ddtHour], Parts[ddtMinute], Parts[ddtSecond], Parts[ddtMillisecond]);
  Result = NewInteger(Parts[FFunctionType]);
}

TEncodeDateTimeFunction::TEncodeDateTimeFunction() { SetFunctionName(EncodeDateTimeFunctions[0].Name); }

void TEncodeDateTimeFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(EncodeDateTimeFunctions, Value, FFunctionType);
}

void TEncodeDateTimeFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  if (FFunctionType == edtDate) {
    Result = NewFloat(EncodeDate(IntegerOf(FunCall, 0, Context), OptionalInteger(FunCall, 1, Context, 1),
                                 OptionalInteger(FunCall, 2, Context, 1)));
  } else {
    Result = NewFloat(EncodeTime(IntegerOf(FunCall, 0, Context), OptionalInteger(FunCall, 1, Context, 0),
                                 OptionalInteger(FunCall, 2, Context, 0), OptionalInteger(FunCall, 3, Context, 0)));
  }
}

}  // namespace cogent
