#include "cogent/functions/FuzzyPackage.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "cogent/fuzzy/VXFuzzyPlot.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/FuzzyValues.h"
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
  TInferenceEngine& Engine = EngineOf(Context);
  const IFuzzyVariable Variable = VariableOf(Engine, First);
  IValueVector Expression(new TValueVector());
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I) Expression->Add(FunCall->GetArgument(I));
  Result = Engine.EvalFuzzyExpression(Variable, Expression, Context);
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
    Id = Engine.Assert(ContextOf(Context).ResolveClone(Value->GetAsFact()), Method, Unconditional);
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
  IValueVector Values(new TValueVector());
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
  double PlotLow = 0.0;
  double PlotHigh = 1.0;
  FuzzyPlotLimits(Sets, Variable.get(), Low, High, PlotLow, PlotHigh);
  for (const IFuzzySet& Set : Sets) Values->Add(FuzzyValue(Set));
  Engine.PlotFuzzySet(OutID, Values, PlotLow, PlotHigh, PlotChars);
  Result = FCNil;
}

// ---------------------------------------------------------------- settings

namespace {

// Thresholds are memberships. The engine's setters clip too, but a number
// out of a float's range must be clipped before it is narrowed to one.
float Membership(double Value) { return static_cast<float>(std::clamp(Value, 0.0, 1.0)); }

}  // namespace

void TRWActivationThresholdFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = NewFloat(Engine.GetMinActivationStrength());
  if (FRWActivationThresholdFunctionType == atfGetActivationThreshold) return;
  Engine.SetMinActivationStrength(Membership(NumberOf(FunCall, 0, Context)));
}

void TRWFuzzyThresholdFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = NewFloat(Engine.GetFuzzyEqualsThreshold());
  if (FRWFuzzyThresholdFunctionType == ftfGetFuzzyThreshold) return;
  Engine.SetFuzzyEqualsThreshold(Membership(NumberOf(FunCall, 0, Context)));
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
