#include "cogent/functions/FuzzyPackage.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "cogent/fuzzy/VXFuzzyPlot.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/KBFuzzyLogic.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TFuzzyLogicPackage, TUserPackage>();
  RegisterClass<TCreateFuzzyShapeFunction, TKBUserFunction>();
  RegisterClass<TCreateFuzzySetFunction, TKBUserFunction>();
  RegisterClass<TDefuzzifyFunction, TKBUserFunction>();
  RegisterClass<TFuzzyAssertFunction, TKBUserFunction>();
  RegisterClass<TFuzzyOperationFunction, TKBUserFunction>();
  RegisterClass<TGetFuzzyFunction, TKBUserFunction>();
  RegisterClass<TUniverseOfDiscourseFunction, TKBUserFunction>();
  RegisterClass<TPlotFuzzySetFunction, TKBUserFunction>();
  RegisterClass<TRWActivationThresholdFunction, TKBUserFunction>();
  RegisterClass<TRWFuzzyAutoTerms, TKBUserFunction>();
  RegisterClass<TRWFuzzyCorrelationFunction, TKBUserFunction>();
  RegisterClass<TRWFuzzyInferenceFunction, TKBUserFunction>();
  RegisterClass<TRWFuzzyThresholdFunction, TKBUserFunction>();
  return true;
}();

constexpr const char* FuzzyValueArguments = " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression>";
constexpr const char* DefuzzifyArguments = " <fact-id-expression> | <fact-expression> | <fuzzy-value-expression> ";
constexpr const char* UniverseArguments =
    " <fuzzy-type-expression> | <fuzzy-fact-expression> | <fuzzy-fact-id-expression>";

constexpr TFamilyMember ShapeFunctions[] = {
    {"s", "Returns a new fuzzy value that rises in an S curve from 0 at the first number to 1 at the second",
     " <numeric-expression> <numeric-expression> ", 2, 2},
    {"z", "Returns a new fuzzy value that falls in a Z curve from 1 at the first number to 0 at the second",
     " <numeric-expression> <numeric-expression> ", 2, 2},
    {"pi",
     "Returns a new fuzzy value shaped as a bell, by its centre and range or by its left end, centre and right end",
     " [ <center-numeric-expression> <range-numeric-expression> ] |  [ <left-numeric-expression> "
     "<center-numeric-expression> <right-numeric-expression> ]",
     2, 3},
    {"tri", "Returns a new fuzzy value shaped as a triangle from its left end over its centre to its right end",
     " <left-numeric-expression> <center-numeric-expression> <right-numeric-expression> ", 3, 3},
    {"beta", "Returns a new fuzzy value shaped as a beta curve about its centre, within its range",
     " <center-numeric-expression> <range-numeric-expression> [ <inflection-numeric-expression> [ "
     "<weight-numeric-expression> ]]",
     2, 4},
};

constexpr TFamilyMember DefuzzifyFunctions[] = {
    {"moment-defuzzify", "Returns the centre of gravity of the fuzzy set as a float", DefuzzifyArguments, 1, 1},
    {"maximum-defuzzify", "Returns the mean of the maxima of the fuzzy set as a float", DefuzzifyArguments, 1, 1},
    {"is-undecidable", "Returns TRUE when the maxima of the fuzzy set give no single answer", DefuzzifyArguments,
     1, 1},
    {"get-compatibility-index", "Returns the greatest membership of the fuzzy set as a float", DefuzzifyArguments,
     1, 1},
};

constexpr TFamilyMember AssertFunctions[] = {
    {"fuzzy-assert",
     "Asserts each fact, combining a fuzzy fact with an equal one under the inference method named first; returns "
     "the id of the last, or FALSE",
     " <fuzzy-inference-expression> <fact-expression>*", 2, TKBUserFunction::NoArgumentLimit},
    {"fuzzy-assert-unconditional",
     "Asserts each fact, intersecting a fuzzy fact with an equal one under the inference method named first or the "
     "engine's own; returns the id of the last, or FALSE",
     " [<fuzzy-inference-expression>] <fact-expression>*", 1, TKBUserFunction::NoArgumentLimit},
};

constexpr TFamilyMember OperationFunctions[] = {
    {"fuzzy-union", "Returns the union of the fuzzy values, from the left", " <fuzzy-value-expression> "
     "<fuzzy-value-expression>+", 2, TKBUserFunction::NoArgumentLimit},
    {"fuzzy-union-x", "Returns the union of the fuzzy values, from the left, under the operation named first",
     " <fuzzy-union-type-expression> <fuzzy-value-expression> <fuzzy-value-expression>+", 3, TKBUserFunction::NoArgumentLimit},
    {"fuzzy-intersection", "Returns the intersection of the fuzzy values, from the left",
     " <fuzzy-value-expression> <fuzzy-value-expression>+", 2, TKBUserFunction::NoArgumentLimit},
    {"fuzzy-intersection-x",
     "Returns the intersection of the fuzzy values, from the left, under the operation named first",
     " <fuzzy-intersection-type-expression> <fuzzy-value-expression> <fuzzy-value-expression>+", 3,
     TKBUserFunction::NoArgumentLimit},
};

constexpr TFamilyMember GetFuzzyFunctions[] = {
    {"get-fs", "Returns the points of the fuzzy set as singletons", FuzzyValueArguments, 1, 1},
    {"get-fs-length", "Returns the number of points of the fuzzy set", FuzzyValueArguments, 1, 1},
    {"get-fs-x", "Returns the x of the point of the fuzzy set at the index, from 0",
     " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression> <integer-expression> ", 2, 2},
    {"get-fs-y", "Returns the membership of the point of the fuzzy set at the index, from 0",
     " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression> <integer-expression> ", 2, 2},
    {"get-fs-variable", "Returns the name of the fuzzy variable of the fuzzy set", FuzzyValueArguments, 1, 1},
    {"get-fs-value", "Returns the membership of the number in the fuzzy set",
     " <fact-expression> | <fact-id-expression> | <fuzzy-value-expression> <numeric-expression> ", 2, 2},
};

constexpr TFamilyMember UniverseFunctions[] = {
    {"get-u", "Returns the universe of discourse of the fuzzy variable as text: from, to and units",
     UniverseArguments, 1, 1},
    {"get-u-from", "Returns the low end of the universe of discourse of the fuzzy variable", UniverseArguments, 1,
     1},
    {"get-u-to", "Returns the high end of the universe of discourse of the fuzzy variable", UniverseArguments, 1, 1},
    {"get-u-units", "Returns the units of the fuzzy variable", UniverseArguments, 1, 1},
};

constexpr TFamilyMember ActivationThresholdFunctions[] = {
    {"get-activation-threshold", "Returns the least strength with which a rule is activated", " ", 0, 0},
    {"set-activation-threshold", "Sets the least strength with which a rule is activated; returns the one before",
     " <numeric-expression> ", 1, 1},
};

constexpr TFamilyMember FuzzyThresholdFunctions[] = {
    {"get-fuzzy-threshold", "Returns the membership above which a fuzzy value equals another", " ", 0, 0},
    {"set-fuzzy-threshold", "Sets the membership above which a fuzzy value equals another; returns the one before",
     " <numeric-expression> ", 1, 1},
};

constexpr TFamilyMember CorrelationFunctions[] = {
    {"get-fuzzy-correlation", "Returns how the strength of a rule weakens its fuzzy conclusions", " ", 0, 0},
    {"set-fuzzy-correlation",
     "Sets how the strength of a rule weakens its fuzzy conclusions, minimum or product; returns the one before",
     " <correlation-expression> ", 1, 1},
};

constexpr TFamilyMember InferenceFunctions[] = {
    {"get-fuzzy-inference", "Returns how a fuzzy fact combines with an equal one", " ", 0, 0},
    {"set-fuzzy-inference", "Sets how a fuzzy fact combines with an equal one; returns the one before",
     " <fuzzy-inference-expression> ", 1, 1},
};

constexpr TFamilyMember AutoTermsFunctions[] = {
    {"get-fuzzy-auto-terms", "Returns TRUE while new fuzzy types get the terms low, medium and high", " ", 0, 0},
    {"set-fuzzy-auto-terms",
     "New fuzzy types get the terms low, medium and high when the argument is TRUE; returns the setting before",
     " <boolean-expression> ", 1, 1},
};

// Shapes bend in this many straight pieces on each side.
constexpr std::int32_t ShapeSteps = 7;

IKBValue FuzzyValue(const IFuzzySet& Set) { return IKBValue(new TKBValue(Set)); }

bool IsNumber(const IKBValue& Value) {
  return Value && (Value->GetDType() == dtInteger || Value->GetDType() == dtFloat);
}

// The set of a fuzzy value; one that holds no set fails as a value that
// isn't fuzzy. Its text is left out: a value without its set has none.
IFuzzySet SetOf(const IKBValue& Value) {
  IFuzzySet Set = Value->GetAsFuzzy();
  if (!Set) throw EKBException(Format(_SNotCorrectType, "fuzzy value", "", GetKBTypeName(Value->GetDType())));
  return Set;
}

// "a, b, or c".
template <std::size_t N>
std::string NameList(const std::array<const char*, N>& Names) {
  std::string Result;
  for (std::size_t I = 0; I < N; ++I) {
    if (I > 0) Result += I + 1 == N ? ", or " : ", ";
    Result += Names[I];
  }
  return Result;
}

// The fuzzy variable of a fuzzy type named by Value's text, or of the set of
// a fuzzy value; nil for a type that is no fuzzy type or a set without one.
IFuzzyVariable VariableOf(TInferenceEngine& Engine, const IKBValue& Value) {
  if (Value->GetDType() == dtFuzzy) {
    const IFuzzySet Set = Value->GetAsFuzzy();
    return IFuzzyVariable(Set ? Set->GetVariable() : nullptr);
  }
  const IKBDefinedType Type = Engine.FindDefinedType(Value->GetAsString());
  return Type ? Type->GetFuzzyType() : IFuzzyVariable();
}

IKBValue EmptySetOf(const IFuzzyVariable& Variable) {
  if (!Variable) throw EKBException(_SUndefinedFuzzyVariable);
  return FuzzyValue(Variable->GetEmptyFuzzySet());
}

// ---------------------------------------------------------------- expressions

enum TFuzzyItemKind : std::uint8_t { fikOperand, fikOpenBracket, fikCloseBracket, fikKeyword, fikHedgeOperator, fikHedge };

TFuzzyItemKind KindOfText(const std::string& Text) {
  bool IsUnion = false;
  TFuzzyOperation Operation = foZadeh;
  if (Text == "[") return fikOpenBracket;
  if (Text == "]") return fikCloseBracket;
  if (IsFuzzyKeyword(Text, IsUnion, Operation)) return fikKeyword;
  if (IsFuzzyHedgeOperator(Text)) return fikHedgeOperator;
  if (IsFuzzyHedge(Text)) return fikHedge;
  return fikOperand;
}

TFuzzyItemKind KindOf(const IKBValue& Item) {
  if (Item->GetDType() != dtAtom && Item->GetDType() != dtString) return fikOperand;
  return KindOfText(Item->GetAsString());
}

// A smaller number binds tighter: an operator leaves the stack while its
// stack priority is not above the incoming one of the next.
int StackPriority(TFuzzyItemKind Kind) {
  switch (Kind) {
    case fikOpenBracket:
      return 4;
    case fikKeyword:
    case fikHedgeOperator:
      return 3;
    case fikHedge:
      return 2;
    default:
      return 1;
  }
}

int IncomingPriority(TFuzzyItemKind Kind) {
  switch (Kind) {
    case fikOpenBracket:
      return 0;
    case fikKeyword:
    case fikHedgeOperator:
      return 3;
    default:
      return 1;
  }
}

// The expression in postfix order, one list per expression.
std::vector<IValueVector> ToPostfix(const IValueVector& Expression, TKBContext* Context) {
  std::vector<IValueVector> Result{IValueVector(new TValueVector())};
  std::vector<IKBValue> Operators;
  int Depth = 0;
  bool LastWasOperand = false;
  const auto Close = [&] {
    if (Depth > 0) throw EKBException(_SMissingFuzzyCloseBracket);
    while (!Operators.empty()) {
      Result.back()->Add(Operators.back());
      Operators.pop_back();
    }
  };
  const auto Operand = [&](const IKBValue& Item) {
    if (LastWasOperand) {
      Close();
      Result.emplace_back(new TValueVector());
    }
    Result.back()->Add(Item);
    LastWasOperand = true;
  };
  const int Count = Expression ? Expression->GetCount() : 0;
  for (int I = 0; I < Count; ++I) {
    const IKBValue Written = Expression->Get(I);
    const IKBValue Item = Written && Context ? Written->Resolve(Context) : Written;
    if (!Item) throw EKBException(Format(_SInvalidFuzzyToken, Written ? Written->GetToString() : std::string()));
    switch (Item->GetDType()) {
      case dtAtom:
      case dtString: {
        const TFuzzyItemKind Kind = KindOf(Item);
        if (Kind == fikOperand) {
          Operand(Item);
        } else if (Kind == fikCloseBracket) {
          // A "]" without its "[" only takes the depth below 0.
          --Depth;
          while (!Operators.empty() && KindOf(Operators.back()) != fikOpenBracket) {
            Result.back()->Add(Operators.back());
            Operators.pop_back();
          }
          if (!Operators.empty()) Operators.pop_back();
          LastWasOperand = true;
        } else {
          if (Kind == fikOpenBracket) ++Depth;
          while (!Operators.empty() && StackPriority(KindOf(Operators.back())) <= IncomingPriority(Kind)) {
            Result.back()->Add(Operators.back());
            Operators.pop_back();
          }
          Operators.push_back(Item);
          LastWasOperand = false;
        }
        break;
      }
      case dtInteger:
      case dtFloat:
      case dtVariable:
      case dtMultiVariable:
      case dtFunCall:
      case dtSingletons:
      case dtFuzzy:
      case dtList:
        // A hedge must not reach the set that a variable holds.
        if (Written && KBVariableTypes.Contains(Written->GetDType()) && Item->GetDType() == dtFuzzy)
          Operand(FuzzyValue(SetOf(Item)->Clone()));
        else
          Operand(Item);
        break;
      default:
        throw EKBException(Format(_SInvalidFuzzyToken, Item->GetToString()));
    }
  }
  Close();
  return Result;
}

IKBValue Pop(std::vector<IKBValue>& Stack, const IKBValue& Operator) {
  if (Stack.empty()) throw EKBException(Format(_SMissingFuzzyOperand, Operator->GetToString()));
  IKBValue Result = Stack.back();
  Stack.pop_back();
  return Result;
}

// The set of an operand about to be changed in place. A term that a
// variable shares must never change; nor may a set that came in as it was
// written, which a rule keeps for its next firing. So the operand always
// takes a clone first.
IFuzzySet OwnSet(const IKBValue& Value) {
  IFuzzySet Own = SetOf(Value)->Clone();
  Value->SetAsFuzzy(Own);
  return Own;
}

IKBValue EvalPostfix(const IFuzzyVariable& Variable, const IValueVector& Postfix, std::vector<IKBValue>& Stack,
                     TKBContext* Context) {
  Stack.clear();
  for (int I = 0; I < Postfix->GetCount(); ++I) {
    const IKBValue Item = Postfix->Get(I);
    switch (KindOf(Item)) {
      case fikKeyword: {
        bool IsUnion = false;
        TFuzzyOperation Operation = foZadeh;
        IsFuzzyKeyword(Item->GetAsString(), IsUnion, Operation);
        const IKBValue Right = Pop(Stack, Item);
        const IKBValue Left = Pop(Stack, Item);
        const IFuzzySet LeftSet = SetOf(Left);
        Left->SetAsFuzzy(IsUnion ? LeftSet->Union(SetOf(Right), Operation)
                                 : LeftSet->Intersection(SetOf(Right), Operation));
        Stack.push_back(Left);
        break;
      }
      case fikHedgeOperator: {
        TBaseFuzzyHedge BaseHedge = bhAdd;
        bool Clip = true;
        IsFuzzyHedgeOperator(Item->GetAsString(), BaseHedge, Clip);
        const IKBValue Right = Pop(Stack, Item);
        const IKBValue Left = Pop(Stack, Item);
        const double Number = SetOf(Right)->MaximumDefuzzify();
        OwnSet(Left)->Hedge(BaseHedge, Number, Clip);
        Stack.push_back(Left);
        break;
      }
      case fikHedge: {
        TFuzzyHedge Hedge = fhNot;
        IsFuzzyHedge(Item->GetAsString(), Hedge);
        const IKBValue Value = Pop(Stack, Item);
        OwnSet(Value)->Hedge(Hedge);
        Stack.push_back(Value);
        break;
      }
      default: {
        const IKBValue Value = EvalFuzzyExpression(Variable, Item, Context);
        // Something still unbound: the expression waits as it is.
        if (!Value || Value->GetDType() != dtFuzzy) return IKBValue(new TKBValue(Postfix));
        // A value of its own, which keywords and hedges may change.
        Stack.push_back(FuzzyValue(SetOf(Value)));
      }
    }
  }
  return Stack.empty() ? FCNil : Stack.back();
}

}  // namespace

// ---------------------------------------------------------------- reading sets

IKBValue GetFuzzySlot(const IFact& Fact) {
  const IFactTemplate Template = Fact ? Fact->GetTemplate() : IFactTemplate();
  if (!Template) return nullptr;
  const TStringList<>& Names = Template->GetSlotNames();
  for (int I = 0; I < Names.GetCount(); ++I) {
    IKBValue Value = Fact->GetValue(Names.GetString(I));
    if (Value && Value->GetDType() == dtFuzzy) return Value;
  }
  return nullptr;
}

IFuzzySet GetFuzzySetFromValue(const IKBValue& Value, TKBContext* Context) {
  const IKBValue Resolved = Value ? Value->Resolve(Context) : Value;
  // Nothing at all fails as any other value that isn't fuzzy.
  if (!Resolved) return IKBValue(new TKBValue())->GetAsFuzzy();
  IFact Fact;
  switch (Resolved->GetDType()) {
    case dtInteger:
    case dtFactId: {
      const TFacts* Facts = EngineOf(Context).GetFacts();
      Fact = Facts ? Facts->GetFactByID(Resolved->GetAsInteger()) : IFact();
      if (!Fact) throw EKBException(Format(_SNoSuchFact, Resolved->GetToString()));
      break;
    }
    case dtFact:
      Fact = Resolved->GetAsFact();
      break;
    default:
      return SetOf(Resolved);
  }
  const IKBValue Slot = GetFuzzySlot(Fact);
  if (!Slot) throw EKBException(_SNotFuzzyFact);
  return SetOf(Slot);
}

// ---------------------------------------------------------------- expressions

IKBValue EvalFuzzyExpression(const IFuzzyVariable& Variable, const IKBValue& Term, TKBContext* Context) {
  IKBValue Result;
  if (!Term) return EmptySetOf(Variable);
  switch (Term->GetDType()) {
    case dtAtom:
    case dtString: {
      if (!Variable) throw EKBException(_SUndefinedFuzzyVariable);
      const std::string Text = Term->GetAsString();
      if (Text.empty() || Text == SEmptyFuzzy) return EmptySetOf(Variable);
      const IFuzzySet Set = Variable->FindFuzzySet(Text);
      if (!Set) throw EKBException(Format(_SInvalidFuzzyToken, Text));
      Result = FuzzyValue(Set);
      break;
    }
    case dtInteger:
    case dtFloat: {
      const double X = Term->GetAsNumeric();
      const IFuzzySet Set(new TKBFuzzySet(Variable, Term->GetToString()));
      Set->TriangleCurve(X, X, X);
      Result = FuzzyValue(Set);
      break;
    }
    case dtVariable:
    case dtFunCall: {
      if (!Context) return Term;
      IKBValue Value = Term->Resolve(Context);
      if (Value && Value->GetDType() == dtFuzzy && Term->GetDType() == dtVariable)
        Value = FuzzyValue(Value->GetAsFuzzy());
      Result = EvalFuzzyExpression(Variable, Value, Context);
      break;
    }
    case dtList:
      Result = EvalFuzzyExpression(Variable, Term->GetAsList(), Context);
      break;
    case dtSingletons: {
      if (!Context) {
        const ISingletonsVector Points = Term->GetAsSingletons();
        for (int I = 0; Points && I < Points->GetCount(); ++I)
          if (!IsNumber(Points->GetXValues(I)) || !IsNumber(Points->GetYValues(I))) return Term;
      }
      Result = Term->Resolve(Context);
      break;
    }
    case dtFuzzy:
      Result = Term;
      break;
    default:
      if (!Context) return FCNil;
      throw EKBException(Format(_SInvalidFuzzyToken, Term->GetToString()));
  }
  if (Result && Result->GetDType() == dtFuzzy && Variable) {
    const IFuzzySet Set = Result->GetAsFuzzy();
    if (Set && !Set->GetVariable()) Set->SetVariable(Variable);
  }
  return Result;
}

IKBValue EvalFuzzyExpression(const IFuzzyVariable& Variable, const IValueVector& Expression, TKBContext* Context) {
  const std::vector<IValueVector> Postfix = ToPostfix(Expression, Context);
  if (Postfix.front()->GetCount() == 0) return FCNilList;
  std::vector<IKBValue> Stack;
  if (Postfix.size() == 1) return EvalPostfix(Variable, Postfix.front(), Stack, Context);
  IValueVector Results(new TValueVector());
  for (const IValueVector& List : Postfix) {
    const IKBValue Value = EvalPostfix(Variable, List, Stack, Context);
    if (!Value || Value == FCNil || Value->Equals(FCNil)) return FCNil;
    Results->Add(Value);
  }
  return IKBValue(new TKBValue(Results));
}

// ---------------------------------------------------------------- plot

void PlotFuzzySets(TInferenceEngine& Engine, const std::string& OutID, const std::vector<IFuzzySet>& Sets,
                   const TFuzzyVariable* Variable, std::optional<double> Low, std::optional<double> High,
                   const std::string& PlotChars) {
  double PlotLow = 0.0;
  double PlotHigh = 1.0;
  FuzzyPlotLimits(Sets, Variable, Low, High, PlotLow, PlotHigh);
  for (const std::string& Line : FuzzyPlotLines(Sets, Variable, PlotLow, PlotHigh, PlotChars))
    Engine.PrintOut(OutID, Line + sLineBreak);
}

// ---------------------------------------------------------------- the package

TFuzzyLogicPackage::TFuzzyLogicPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) {
  Construct();
}

TFuzzyLogicPackage::~TFuzzyLogicPackage() { Destroying(); }

void TFuzzyLogicPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  for (const TFamilyMember& Member : ShapeFunctions) AddFunction<TCreateFuzzyShapeFunction>(TKBName(Member.Name));
  AddFunction<TCreateFuzzySetFunction>();
  for (const TFamilyMember& Member : AssertFunctions) AddFunction<TFuzzyAssertFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : OperationFunctions)
    AddFunction<TFuzzyOperationFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : DefuzzifyFunctions) AddFunction<TDefuzzifyFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : GetFuzzyFunctions) AddFunction<TGetFuzzyFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : UniverseFunctions)
    AddFunction<TUniverseOfDiscourseFunction>(TKBName(Member.Name));
  AddFunction<TPlotFuzzySetFunction>();
  for (const TFamilyMember& Member : ActivationThresholdFunctions)
    AddFunction<TRWActivationThresholdFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : FuzzyThresholdFunctions)
    AddFunction<TRWFuzzyThresholdFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : CorrelationFunctions)
    AddFunction<TRWFuzzyCorrelationFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : InferenceFunctions)
    AddFunction<TRWFuzzyInferenceFunction>(TKBName(Member.Name));
  for (const TFamilyMember& Member : AutoTermsFunctions) AddFunction<TRWFuzzyAutoTerms>(TKBName(Member.Name));
}

// ---------------------------------------------------------------- families

// The constructors, the choice of a member by name or by code.
#define COGENT_FUZZY_FAMILY(Class, Code, Members)                                   \
  Class::Class() { SetFunctionName(Members[0].Name); }                              \
  void Class::Set##Code(T##Code Value) {                                            \
    if (static_cast<std::size_t>(Value) < std::size(Members))                       \
      TakeFamilyMember(Members, Members[Value].Name, F##Code);                      \
  }                                                                                 \
  void Class::SetFunctionName(const TKBName& Value) {                               \
    TBuiltInFunction::SetFunctionName(Value);                                       \
    TakeFamilyMember(Members, Value, F##Code);                                      \
  }

COGENT_FUZZY_FAMILY(TCreateFuzzyShapeFunction, CreateFuzzyShapeFunctionType, ShapeFunctions)
COGENT_FUZZY_FAMILY(TDefuzzifyFunction, DefuzzifyFunctionType, DefuzzifyFunctions)
COGENT_FUZZY_FAMILY(TFuzzyAssertFunction, FuzzyAssertFunctionType, AssertFunctions)
COGENT_FUZZY_FAMILY(TFuzzyOperationFunction, FuzzyOperationFunctionType, OperationFunctions)
COGENT_FUZZY_FAMILY(TGetFuzzyFunction, GetFuzzyFunctionType, GetFuzzyFunctions)
COGENT_FUZZY_FAMILY(TUniverseOfDiscourseFunction, UniverseOfDiscourseFunctionType, UniverseFunctions)
COGENT_FUZZY_FAMILY(TRWActivationThresholdFunction, RWActivationThresholdFunctionType, ActivationThresholdFunctions)
COGENT_FUZZY_FAMILY(TRWFuzzyAutoTerms, RWFuzzyAutoTermsType, AutoTermsFunctions)
COGENT_FUZZY_FAMILY(TRWFuzzyCorrelationFunction, RWFuzzyCorrelationFunctionType, CorrelationFunctions)
COGENT_FUZZY_FAMILY(TRWFuzzyInferenceFunction, RWFuzzyInferenceFunctionType, InferenceFunctions)
COGENT_FUZZY_FAMILY(TRWFuzzyThresholdFunction, RWFuzzyThresholdFunctionType, FuzzyThresholdFunctions)

#undef COGENT_FUZZY_FAMILY

// ---------------------------------------------------------------- shapes

void TCreateFuzzyShapeFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const double First = NumberOf(FunCall, 0, Context);
  const double Second = NumberOf(FunCall, 1, Context);
  const int Count = FunCall->GetArgumentCount();
  const IFuzzySet Set(new TKBFuzzySet(static_cast<TFuzzyVariable*>(nullptr), GetFunctionName()));
  const IKBValue Value = FuzzyValue(Set);
  switch (FCreateFuzzyShapeFunctionType) {
    case fsGrowthShape:
    case fsDeclineShape:
      Set->SCurve(ShapeSteps, First, Second, First + (Second - First) / 2,
                  FCreateFuzzyShapeFunctionType == fsGrowthShape);
      break;
    case fsPIShape:
      if (Count > 2)
        Set->BellCurve(ShapeSteps, First, NumberOf(FunCall, 2, Context), Second);
      else
        Set->BellCurve(ShapeSteps, Second, First);
      break;
    case fsTriangleShape:
      Set->TriangleCurve(First, Second, NumberOf(FunCall, 2, Context));
      break;
    case fsBetaShape: {
      // Centre first, then range.
      const double Inflection = Count > 2 ? NumberOf(FunCall, 2, Context) : Second + (First - Second) / 2;
      if (Count > 3)
        Set->BetaCurve(ShapeSteps, Second, First, Inflection, NumberOf(FunCall, 3, Context));
      else
        Set->BetaCurve(ShapeSteps, Second, First, Inflection);
      break;
    }
  }
  Result = Value;
}

// ---------------------------------------------------------------- create-fuzzy-value

void TCreateFuzzySetFunction::InitMetaData() {
  Describe("create-fuzzy-value",
           "Returns the fuzzy value of the expression on the fuzzy variable of a fuzzy type, named, or of a fuzzy "
           "value",
           " <fuzzy-variable-expression> <fuzzy-set-expression>", 2);
}

void TCreateFuzzySetFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IKBValue First = Evaluate(FunCall, 0, Context);
  const TKBType Kind = First->GetDType();
  if (Kind != dtAtom && Kind != dtString && Kind != dtFuzzy)
    throw EKBException(Format(_SInvalidArgType, GetKBTypeName(Kind),
                              SetToString(TKBTypes{dtAtom, dtString, dtFuzzy}, ", ", false)));
  const IFuzzyVariable Variable = VariableOf(EngineOf(Context), First);
  IValueVector Expression(new TValueVector());
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I) Expression->Add(FunCall->GetArgument(I));
  Result = EvalFuzzyExpression(Variable, Expression, Context);
}

// ---------------------------------------------------------------- fuzzy-assert

void TFuzzyAssertFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const bool Unconditional = FFuzzyAssertFunctionType == fafAssertUnconditional;
  TFuzzyInferenceMethod Method = Engine.GetFuzzyInferenceMethod();
  const IKBValue First = Evaluate(FunCall, 0, Context);
  int From = 1;
  if (KBStringTypes.Contains(First->GetDType())) {
    const std::string Text = First->GetAsAtom();
    if (!IsFuzzyInference(Text, Method))
      throw EKBException(Format(_SInvalidFuzzyInference, Text, FuzzyInferenceSuffixNameList));
  } else if (!Unconditional) {
    throw EKBException(Format(_SInvalidFuzzyInference, First->GetToString(), FuzzyInferenceSuffixNameList));
  } else {
    From = 0;
  }
  std::int32_t Id = -1;
  for (int I = From; I < FunCall->GetArgumentCount(); ++I) {
    // The first argument was resolved already; the written fact stays a
    // pattern for the next firing.
    const IKBValue Value = I == 0 ? First : Evaluate(FunCall, I, Context);
    const IFact Fact = Value->GetAsFact()->Clone();
    Id = Engine.Assert(ContextOf(Context).Resolve(Fact), Method, Unconditional);
  }
  Result = Id == -1 ? FCFalse : IKBValue(new TKBValue(Id, dtFactId));
}

// ---------------------------------------------------------------- union and intersection

void TFuzzyOperationFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const bool Named = FFuzzyOperationFunctionType == fofFuzzyUnionX ||
                     FFuzzyOperationFunctionType == fofFuzzyIntersectionX;
  const bool IsUnion =
      FFuzzyOperationFunctionType == fofFuzzyUnion || FFuzzyOperationFunctionType == fofFuzzyUnionX;
  TFuzzyOperation Operation = foZadeh;
  int From = 0;
  if (Named) {
    const std::string Text = Evaluate(FunCall, 0, Context)->GetAsAtom();
    if (!IsFuzzyOperation(Text, Operation))
      throw EKBException(
          Format(_SInvalidKBFuzzyOperation, Text, GetFunctionName(), NameList(FuzzyOperationNames)));
    From = 1;
  }
  IFuzzySet Set = GetFuzzySetFromValue(FunCall->GetArgument(From), Context);
  for (int I = From + 1; I < FunCall->GetArgumentCount(); ++I) {
    const IFuzzySet Next = GetFuzzySetFromValue(FunCall->GetArgument(I), Context);
    Set = IsUnion ? Set->Union(Next, Operation) : Set->Intersection(Next, Operation);
  }
  Result = FuzzyValue(Set);
}

// ---------------------------------------------------------------- defuzzification

void TDefuzzifyFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IFuzzySet Set = GetFuzzySetFromValue(FunCall->GetArgument(0), Context);
  switch (FDefuzzifyFunctionType) {
    case dftMoment:
      Result = NewFloat(Set->MomentDefuzzify());
      break;
    case dftMaximum:
      Result = NewFloat(Set->MaximumDefuzzify());
      break;
    case dftUndecidable:
      Result = Truth(Set->IsUndecidable());
      break;
    case dftCompatibilityIndex:
      Result = NewFloat(Set->GetCompatibilityIndex());
      break;
  }
}

// ---------------------------------------------------------------- reading a set

void TGetFuzzyFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IFuzzySet Set = GetFuzzySetFromValue(FunCall->GetArgument(0), Context);
  switch (FGetFuzzyFunctionType) {
    case gffGetFs: {
      ISingletonsVector Points(new TSingletonsVector());
      for (int I = 0; I < Set->GetPointCount(); ++I) Points->Add(NewFloat(Set->GetX(I)), NewFloat(Set->GetY(I)));
      Result = IKBValue(new TKBValue(Points));
      break;
    }
    case gffGetFsLength:
      Result = NewInteger(Set->GetPointCount());
      break;
    case gffGetFsX:
      Result = NewFloat(Set->GetX(IntegerOf(FunCall, 1, Context)));
      break;
    case gffGetFsY:
      Result = NewFloat(Set->GetY(IntegerOf(FunCall, 1, Context)));
      break;
    case gffGetFsVariable:
      Result = NewAtom(Set->GetVariable() ? Set->GetVariable()->GetName() : std::string());
      break;
    case gffGetFsValue:
      Result = NewFloat(Set->DegreeOfMembership(NumberOf(FunCall, 1, Context)));
      break;
  }
}

// ---------------------------------------------------------------- universe of discourse

void TUniverseOfDiscourseFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IKBValue First = Evaluate(FunCall, 0, Context);
  const TKBType Kind = First->GetDType();
  if (Kind != dtAtom && Kind != dtString && Kind != dtFuzzy)
    throw EKBException(Format(_SInvalidArgType, GetKBTypeName(Kind),
                              SetToString(TKBTypes{dtAtom, dtString, dtFuzzy}, ", ", false)));
  const IFuzzyVariable Variable = VariableOf(EngineOf(Context), First);
  if (!Variable) throw EKBException(_SUndefinedFuzzyVariable);
  switch (FUniverseOfDiscourseFunctionType) {
    case uodGet:
      Result = NewString(Format("%.4f - %.4f %s", Variable->GetUniverseLow(), Variable->GetUniverseHigh(),
                                Variable->GetUnits()));
      break;
    case uodGetFrom:
      Result = NewFloat(Variable->GetUniverseLow());
      break;
    case uodGetTo:
      Result = NewFloat(Variable->GetUniverseHigh());
      break;
    case uodGetUnits:
      Result = NewString(Variable->GetUnits());
      break;
  }
}

// ---------------------------------------------------------------- plot

void TPlotFuzzySetFunction::InitMetaData() {
  Describe("plot-fuzzy-value",
           "Prints a plot of the fuzzy values, of the fuzzy slots of facts, or of the terms of a fuzzy type to the "
           "logical name, each drawn with its character",
           " <io-stream-identifier-string-expression> <plot-chars-string-expression> <low-limit-numeric-expression> "
           "<high-limit-numeric-expression> "
           "<fuzzy-variable-name-expression>|<fuzzy-value-expression>|<fact-id-expression>|<fact-expression>+",
           5);
}

void TPlotFuzzySetFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string OutID = TextOf(FunCall, 0, Context);
  const std::string PlotChars = TextOf(FunCall, 1, Context);
  std::vector<IFuzzySet> Sets;
  IFuzzyVariable Variable;
  const auto AddPlotted = [&](int Index) {
    const IKBValue Value = Evaluate(FunCall, Index, Context);
    switch (Value->GetDType()) {
      case dtInteger:
      case dtFactId:
      case dtFact:
      case dtFuzzy:
        Sets.push_back(GetFuzzySetFromValue(Value, Context));
        if (Index == 4) Variable = IFuzzyVariable(Sets.back()->GetVariable());
        break;
      default: {
        // A fuzzy type's name: all its terms.
        const IFuzzyVariable Terms = VariableOf(Engine, Value);
        if (!Terms) throw EKBException(_SUndefinedFuzzyVariable);
        for (int I = 0; I < Terms->GetTermCount(); ++I) Sets.push_back(Terms->GetTerm(I));
        if (Index == 4) Variable = Terms;
      }
    }
  };
  // The first plotted value gives the variable, which bounds the limits.
  AddPlotted(4);
  const auto Limit = [&](int Index) -> std::optional<double> {
    const IKBValue Value = Evaluate(FunCall, Index, Context);
    if (IsNumber(Value)) return Value->GetAsNumeric();
    return std::nullopt;
  };
  const std::optional<double> Low = Limit(2);
  const std::optional<double> High = Limit(3);
  for (int I = 5; I < FunCall->GetArgumentCount(); ++I) AddPlotted(I);
  PlotFuzzySets(Engine, OutID, Sets, Variable.get(), Low, High, PlotChars);
  Result = FCNil;
}

// ---------------------------------------------------------------- settings

namespace {

// Thresholds are memberships.
float Membership(double Value) { return static_cast<float>(std::clamp(Value, 0.0, 1.0)); }

}  // namespace

void TRWActivationThresholdFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = NewFloat(Engine.GetMinActivationStrength());
  if (FRWActivationThresholdFunctionType == atfGetActivationThreshold) return;
  const float Value = Membership(NumberOf(FunCall, 0, Context));
  if (Value == Engine.GetMinActivationStrength()) return;
  Engine.SetMinActivationStrength(Value);
  // Only the network of the current module hears of it.
  if (TReteNetwork* Rete = Engine.GetRete()) Rete->SetMinActivationStrength(Value);
}

void TRWFuzzyThresholdFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = NewFloat(Engine.GetFuzzyEqualsThreshold());
  if (FRWFuzzyThresholdFunctionType == ftfGetFuzzyThreshold) return;
  const float Value = Membership(NumberOf(FunCall, 0, Context));
  if (Value == Engine.GetFuzzyEqualsThreshold()) return;
  Engine.SetFuzzyEqualsThreshold(Value);
  // The fuzzy types of the current module compare by it.
  if (TKBDefinedTypes* Types = Engine.GetDefinedTypes())
    for (const IKBDefinedType& Type : Types->GetValues().ToArray())
      if (Type && Type->GetFuzzyType()) Type->GetFuzzyType()->SetEqualityThreshold(Value);
}

void TRWFuzzyCorrelationFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = NewAtom(FuzzyCorrelationNames[Engine.GetFuzzyCorrelationMethod() % FuzzyCorrelationNames.size()]);
  if (FRWFuzzyCorrelationFunctionType == fcfGetCorrelation) return;
  const std::string Text = Evaluate(FunCall, 0, Context)->GetAsAtom();
  TFuzzyCorrelationMethod Method = fcmMinimum;
  if (!IsFuzzyCorrelation(Text, Method))
    throw EKBException(Format(_SInvalidFuzzyCorrelation, Text, FuzzyCorrelationSuffixNameList));
  Engine.SetFuzzyCorrelationMethod(Method);
}

void TRWFuzzyInferenceFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = NewAtom(FuzzyInferenceNames[Engine.GetFuzzyInferenceMethod() % FuzzyInferenceNames.size()]);
  if (FRWFuzzyInferenceFunctionType == fifGetInference) return;
  const std::string Text = Evaluate(FunCall, 0, Context)->GetAsAtom();
  TFuzzyInferenceMethod Method = fimMinMax;
  if (!IsFuzzyInference(Text, Method))
    throw EKBException(Format(_SInvalidFuzzyInference, Text, FuzzyInferenceSuffixNameList));
  Engine.SetFuzzyInferenceMethod(Method);
}

void TRWFuzzyAutoTerms::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = Truth(Engine.GetFuzzyAutoTerms());
  if (FRWFuzzyAutoTermsType == fatGetFuzzyAutoTerms) return;
  Engine.SetFuzzyAutoTerms(Evaluate(FunCall, 0, Context)->Equals(FCTrue));
}

}  // namespace cogent
