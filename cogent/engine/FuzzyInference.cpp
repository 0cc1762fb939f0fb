// What the engine itself does with fuzzy values: a firing rule's strength
// weakens the fuzzy conclusions it asserts, a fuzzy fact combines with the
// equal fact already in working memory, linguistic expressions (terms,
// hedges, "and" and "or", brackets) are evaluated into sets, fuzzy
// variables get their default terms, and sets are plotted as text.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPrinter.h"
#include "cogent/fuzzy/VXFuzzyPlot.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/ReteNetwork.h"
#include "cogent/values/KBDefinedType.h"
#include "cogent/values/FuzzyValues.h"
#include "cogent/values/KBFuzzyLogic.h"

namespace cogent {

namespace {

bool IsFuzzy(const IKBValue& Value) { return Value && Value->GetDType() == dtFuzzy && Value->GetAsFuzzy(); }

float Membership(float Value) noexcept { return Value < 0.0f ? 0.0f : (Value > 1.0f ? 1.0f : Value); }

// The slot of that name when it holds fuzzy values, or nil.
TFactSlot* FuzzySlotOf(const TFactTemplate& Template, const TKBName& Name) {
  TFactSlot* Slot = Template.SlotAt(Template.PositionOf(Name));
  return Slot && Slot->IsFuzzy() ? Slot : nullptr;
}

// ---------------------------------------------------------------- expression items

enum TFuzzyItemKind : std::uint8_t {
  fikOperand,
  fikOpenBracket,
  fikCloseBracket,
  fikKeyword,
  fikHedgeOperator,
  fikHedge
};

TFuzzyItemKind KindOf(const IKBValue& Item) {
  if (Item->GetDType() != dtAtom && Item->GetDType() != dtString) return fikOperand;
  const std::string Text = Item->GetAsString();
  bool IsUnion = false;
  TFuzzyOperation Operation = foZadeh;
  if (Text == "[") return fikOpenBracket;
  if (Text == "]") return fikCloseBracket;
  if (IsFuzzyKeyword(Text, IsUnion, Operation)) return fikKeyword;
  if (IsFuzzyHedgeOperator(Text)) return fikHedgeOperator;
  if (IsFuzzyHedge(Text)) return fikHedge;
  return fikOperand;
}

// A smaller number binds tighter: an operator leaves the stack while its
// stack priority is not above the incoming one of the next. So a hedge takes
// the term after it before any keyword does, and keywords of one level
// group from the left.
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

// The expression in postfix order, one list per expression: two operands
// side by side start a new one.
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
        // A hedge must not reach the set of a variable's own value.
        if (Written && KBVariableTypes.Contains(Written->GetDType()) && IsFuzzy(Item))
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

// The set of an operand about to change in place. A term that a variable
// shares must keep its shape, and so must a set written into a rule, which
// the next firing reads again: the operand always takes a clone first.
IFuzzySet OwnSet(const IKBValue& Value) {
  IFuzzySet Own = SetOf(Value)->Clone();
  Value->SetAsFuzzy(Own);
  return Own;
}

}  // namespace

// ---------------------------------------------------------------- correlation and combination

void TInferenceEngine::FuzzyCorrelation(const IFact& Fact, float Correlation) {
  // A rule that holds fully leaves its conclusions whole.
  if (Correlation == 1.0f) return;
  bool Done = false;
  if (OnFuzzyCorrelation) OnFuzzyCorrelation(this, Fact, Correlation, Done);
  if (Done) return;
  const IFactTemplate Template = Fact ? Fact->GetTemplate() : IFactTemplate();
  if (!Template || !Template->IsFuzzy()) throw EKBException(_SNotFuzzyFact);
  // The set a value holds may be a term or another fact's: it is replaced,
  // never changed.
  const auto Weaken = [&](const IKBValue& Value) {
    if (IsFuzzy(Value)) Value->SetAsFuzzy(FuzzyCorrelate(Value->GetAsFuzzy(), FFuzzyCorrelationMethod, Correlation));
  };
  const TStringList<>& Names = Template->GetSlotNames();
  for (int I = 0; I < Names.GetCount(); ++I) {
    const TKBName Name = Names.GetString(I);
    if (!FuzzySlotOf(*Template, Name)) continue;
    const IKBValue Value = Fact->GetValue(Name);
    if (!Value) continue;
    if (Value->GetDType() == dtFuzzy) {
      Weaken(Value);
    } else if (Value->GetDType() == dtList && Value->GetAsList()) {
      Value->SetAsList(Value->GetAsList()->Clone());
      const IValueVector List = Value->GetAsList();
      for (int Item = 0; Item < List->GetCount(); ++Item) Weaken(List->Get(Item));
    }
  }
}

void TInferenceEngine::FuzzyInference(const IFact& Fact1, const IFact& Fact2) {
  bool Done = false;
  if (OnFuzzyInference) OnFuzzyInference(this, Fact1, Fact2, Done);
  if (!Done) FuzzyOperation(Fact1, Fact2, true);
}

void TInferenceEngine::FuzzyOperation(const IFact& Fact1, const IFact& Fact2, bool Union) {
  const IFactTemplate Template = Fact1 ? Fact1->GetTemplate() : IFactTemplate();
  const IFactTemplate Other = Fact2 ? Fact2->GetTemplate() : IFactTemplate();
  if (Template != Other)
    throw EKBException(Format(_SInvalidFuzzyUnionTemplate, Template ? Template->GetTemplateName() : std::string(),
                              Other ? Other->GetTemplateName() : std::string()));
  if (!Template || !Template->IsFuzzy()) throw EKBException(_SNotFuzzyFact);
  const TFuzzyOperation Operation = FuzzyInferenceOperation(FFuzzyInferenceMethod);
  const TStringList<>& Names = Template->GetSlotNames();
  for (int I = 0; I < Names.GetCount(); ++I) {
    const TKBName Name = Names.GetString(I);
    if (!FuzzySlotOf(*Template, Name)) continue;
    if (Union)
      FuzzyUnion(Fact1->GetValue(Name), Fact2->GetValue(Name), Operation);
    else
      FuzzyIntersection(Fact1->GetValue(Name), Fact2->GetValue(Name), Operation);
  }
}

namespace {

// Value1 takes its combination with Value2, item by item for lists of one
// length; anything else is left as it is.
void Combine(const IKBValue& Value1, const IKBValue& Value2, TFuzzyOperation Operation, bool Union) {
  if (!Value1 || !Value2 || Value1->GetDType() != Value2->GetDType()) return;
  const auto Join = [&](const IKBValue& Left, const IKBValue& Right) {
    if (!IsFuzzy(Left) || !IsFuzzy(Right)) return;
    const IFuzzySet Set = Left->GetAsFuzzy();
    Left->SetAsFuzzy(Union ? Set->Union(Right->GetAsFuzzy(), Operation)
                           : Set->Intersection(Right->GetAsFuzzy(), Operation));
  };
  if (Value1->GetDType() != dtList) {
    Join(Value1, Value2);
    return;
  }
  const IValueVector List2 = Value2->GetAsList();
  if (!Value1->GetAsList() || !List2 || Value1->GetAsList()->GetCount() != List2->GetCount()) return;
  Value1->SetAsList(Value1->GetAsList()->Clone());
  const IValueVector List1 = Value1->GetAsList();
  for (int I = 0; I < List1->GetCount(); ++I) Join(List1->Get(I), List2->Get(I));
}

}  // namespace

void TInferenceEngine::FuzzyUnion(const IKBValue& Value1, const IKBValue& Value2, TFuzzyOperation Operation) {
  Combine(Value1, Value2, Operation, true);
}

void TInferenceEngine::FuzzyIntersection(const IKBValue& Value1, const IKBValue& Value2, TFuzzyOperation Operation) {
  Combine(Value1, Value2, Operation, false);
}

// ---------------------------------------------------------------- expressions

IKBValue TInferenceEngine::EvalFuzzyExpression(const IFuzzyVariable& Variable, const IKBValue& Term,
                                               TKBContext* Context) {
  // The empty set of the variable, made on it when missing.
  const auto EmptySet = [&] {
    if (!Variable) throw EKBException(_SUndefinedFuzzyVariable);
    return FuzzyValue(Variable->GetEmptyFuzzySet());
  };
  if (!Term) return EmptySet();
  IKBValue Result;
  switch (Term->GetDType()) {
    case dtAtom:
    case dtString: {
      if (!Variable) throw EKBException(_SUndefinedFuzzyVariable);
      const std::string Text = Term->GetAsString();
      if (Text.empty() || Text == SEmptyFuzzy) {
        Result = EmptySet();
        break;
      }
      const IFuzzySet Set = Variable->FindFuzzySet(Text);
      if (!Set) throw EKBException(Format(_SInvalidFuzzyToken, Text));
      Result = FuzzyValue(Set);
      break;
    }
    case dtInteger:
    case dtFloat: {
      // A crisp number: a spike of height 1 at it.
      const double X = Term->GetAsNumeric();
      const IFuzzySet Set(new TKBFuzzySet(Variable, Term->GetToString()));
      Set->SetParser(this);
      Set->TriangleCurve(X, X, X);
      Result = FuzzyValue(Set);
      break;
    }
    case dtVariable:
    case dtFunCall: {
      if (!Context) return Term;
      IKBValue Value = Term->Resolve(Context);
      // A variable's own value stays out of reach of what follows.
      if (IsFuzzy(Value) && Term->GetDType() == dtVariable) Value = FuzzyValue(Value->GetAsFuzzy());
      // What resolves to no further form is what it is.
      if (Value && (Value->GetDType() == dtVariable || Value->GetDType() == dtFunCall)) return Value;
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
  if (IsFuzzy(Result) && Variable) {
    const IFuzzySet Set = Result->GetAsFuzzy();
    if (!Set->GetVariable()) {
      Set->SetVariable(Variable);
      Set->SetParser(this);
    }
  }
  return Result;
}

IKBValue TInferenceEngine::EvalFuzzyExpression(const IFuzzyVariable& Variable, const IValueVector& Expression,
                                               TKBContext* Context) {
  const std::vector<IValueVector> Postfix = ToPostfix(Expression, Context);
  if (Postfix.front()->GetCount() == 0) return FCNilList;
  // One stack serves every expression; it is released however they end.
  std::vector<IKBValue> Stack;
  const auto Evaluate = [&](const IValueVector& List) -> IKBValue {
    Stack.clear();
    for (int I = 0; I < List->GetCount(); ++I) {
      const IKBValue Item = List->Get(I);
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
          if (!IsFuzzy(Value)) return IKBValue(new TKBValue(List));
          // A value of its own, which keywords and hedges may change.
          Stack.push_back(FuzzyValue(Value->GetAsFuzzy()));
        }
      }
    }
    return Stack.empty() ? FCNil : Stack.back();
  };
  if (Postfix.size() == 1) return Evaluate(Postfix.front());
  IValueVector Results(new TValueVector());
  for (const IValueVector& List : Postfix) {
    const IKBValue Value = Evaluate(List);
    if (!Value || Value->Equals(FCNil)) return FCNil;
    Results->Add(Value);
  }
  return IKBValue(new TKBValue(Results));
}

IKBValue TInferenceEngine::EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression,
                                               TKBContext* Context) {
  return EvalFuzzyExpression(Variable, ParseValue(Expression), Context);
}

IFuzzySet TInferenceEngine::EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression) {
  return EvalFuzzyExpression(Variable, Expression, static_cast<TKBContext*>(nullptr))->GetAsFuzzy();
}

double TInferenceEngine::EvalFuzzyExpression(const IFuzzyVariable& Variable, const std::string& Expression,
                                             IFuzzySet& FuzzySet) {
  FuzzySet = EvalFuzzyExpression(Variable, Expression);
  return FuzzySet ? FuzzySet->GetCrispValue() : 0.0;
}

IFuzzySet TInferenceEngine::ParseFuzzyExpression(const IFuzzyVariable& Variable, const std::string& AString,
                                                 TEncoding* Encoding) {
  IKBValue Value;
  ParseFrame(AString, Encoding, [&](TKBParser& Parser) { Value = Parser.ParseValue(); });
  return EvalFuzzyExpression(Variable, Value, GetGlobalContext())->GetAsFuzzy();
}

IFuzzySet TInferenceEngine::ParseFuzzySet(const IFuzzyVariable& Variable, const std::string& AString) {
  IFuzzySet Result;
  ParseFrame(AString, nullptr, [&](TKBParser& Parser) { Result = Parser.ParseFuzzySet(Variable); });
  return Result;
}

IFuzzyVariable TInferenceEngine::ParseFuzzyVariable(const std::string& AString) {
  IFuzzyVariable Result;
  ParseFrame(AString, nullptr, [&](TKBParser& Parser) { Result = Parser.ParseFuzzyVariable(); });
  return Result;
}

// ---------------------------------------------------------------- text of sets and variables

std::string TInferenceEngine::PrettyPrint(const IFuzzySet& FuzzySet, bool AsDefinition) {
  if (!FuzzySet) return std::string();
  // "(term ...)" stands only in a type's values. A set that is no term, the
  // set of a fact's slot or of a call's result, is written by its shape, so
  // that its text reads back where it stands.
  if (AsDefinition && !FuzzySet->GetIsTerm()) return FuzzyShapeText(*FuzzySet);
  return cogent::PrettyPrint(*FuzzySet, AsDefinition);
}

std::string TInferenceEngine::PrettyPrint(const IFuzzyVariable& Variable) {
  return Variable ? cogent::PrettyPrint(*Variable) : std::string();
}

// ---------------------------------------------------------------- default terms and thresholds

void TInferenceEngine::AddDefaultFuzzyTerms(const IFuzzyVariable& Variable) {
  if (!Variable) return;
  const double From = Variable->GetUniverseLow();
  const double To = Variable->GetUniverseHigh();
  const auto Add = [&](const char* Name, const auto& Shape) {
    if (Variable->FindFuzzySet(Name)) return;
    const IFuzzySet Set = Variable->NewFuzzySet(Name);
    Set->SetParser(this);
    Shape(*Set);
    Variable->AddTerm(Set);
  };
  Add(_SLowFuzzyTerm, [&](TFuzzySet& Set) { Set.SetPoints({{From, 1.0}, {To, 0.0}}, fstCustom); });
  Add(_SMediumFuzzyTerm, [&](TFuzzySet& Set) { Set.TriangleCurve(From, From + (To - From) / 2, To); });
  Add(_SHighFuzzyTerm, [&](TFuzzySet& Set) { Set.SetPoints({{From, 0.0}, {To, 1.0}}, fstCustom); });
}

void TInferenceEngine::SetFuzzyEqualsThreshold(float Value) {
  if (Value == FFuzzyEqualsThreshold) return;
  FFuzzyEqualsThreshold = Membership(Value);
  // Only the types of the current module hear of it.
  if (FCache.DefinedTypes)
    for (const IKBDefinedType& Type : FCache.DefinedTypes->GetValues().ToArray())
      if (Type && Type->GetFuzzyType()) Type->GetFuzzyType()->SetEqualityThreshold(FFuzzyEqualsThreshold);
}

void TInferenceEngine::SetMinActivationStrength(float Value) {
  if (Value == FMinActivationStrength) return;
  FMinActivationStrength = Membership(Value);
  // The network's own value is the one that counts, and only the current
  // module's network gets it.
  if (FCache.Rete) FCache.Rete->SetMinActivationStrength(FMinActivationStrength);
}

// ---------------------------------------------------------------- plot

void TInferenceEngine::PlotFuzzySet(const std::string& OutID, const IKBValue& FuzzySet, double Low, double High,
                                    const std::string& PlotChars) {
  const IValueVector Sets(new TValueVector());
  Sets->Add(FuzzySet);
  PlotFuzzySet(OutID, Sets, Low, High, PlotChars);
}

void TInferenceEngine::PlotFuzzySet(const std::string& OutID, const IValueVector& FuzzySets, double Low, double High,
                                    const std::string& PlotChars) {
  std::vector<IFuzzySet> Sets;
  for (int I = 0; FuzzySets && I < FuzzySets->GetCount(); ++I) Sets.push_back(SetOf(FuzzySets->Get(I)));
  const TFuzzyVariable* Variable = Sets.empty() ? nullptr : Sets.front()->GetVariable();
  // Each line on its own line of the stream.
  for (const std::string& Line : FuzzyPlotLines(Sets, Variable, Low, High, PlotChars))
    PrintOut(OutID, Line + sLineBreak);
}

}  // namespace cogent
