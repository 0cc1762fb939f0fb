// The writer of facts, calls, templates, their slots and defined types.
#include "cogent/facts/KBPrinter.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "cogent/common/VXCommon.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBModule.h"
#include "cogent/host/SysUtils.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

std::string CloseText(std::string Text) {
  while (!Text.empty() && (Text.back() == ' ' || Text.back() == '\t' || Text.back() == '\r' || Text.back() == '\n'))
    Text.pop_back();
  return Text + ")";
}

std::string NestText(const std::string& Text) {
  const std::string Break = sLineBreak;
  const std::string Indented = Break + IndentString();
  std::string Result;
  Result.reserve(Text.size());
  std::size_t Start = 0;
  for (std::size_t Found = Text.find(Break); Found != std::string::npos; Found = Text.find(Break, Start)) {
    Result.append(Text, Start, Found - Start);
    Result += Indented;
    Start = Found + Break.size();
  }
  Result.append(Text, Start, std::string::npos);
  return Result;
}

std::string QuotedComment(const std::string& Comment) { return "\"" + Comment + "\""; }

namespace {

// The text a value shows in the rule language; empty for nil.
std::string FormOf(const IKBValue& Value) { return Value ? Value->GetToString() : std::string(); }

// Each line of a comment trimmed; a line that says something and is not yet
// a comment line gets "; " in front; every line ends in CR LF.
std::string CommentLines(const std::string& Comment) {
  std::string Result;
  std::size_t Start = 0;
  while (Start <= Comment.size()) {
    std::size_t End = Comment.find_first_of("\r\n", Start);
    if (End == std::string::npos) End = Comment.size();
    const std::string Line = Trim(std::string_view(Comment).substr(Start, End - Start));
    if (!Line.empty() && Line[0] != ';') Result += "; ";
    Result += Line;
    Result += sLineBreak;
    if (End == Comment.size()) break;
    // One line end is CR LF, LF or CR.
    Start = End + ((Comment[End] == '\r' && End + 1 < Comment.size() && Comment[End + 1] == '\n') ? 2 : 1);
    if (Start == Comment.size()) break;
  }
  return Result;
}

std::string QualifiedName(const TModuleConstruct& Construct, const std::string& Name, bool PrintModuleQualifiers) {
  if (PrintModuleQualifiers)
    if (const IModule Module = Construct.GetModule()) return Module->GetName() + "::" + Name;
  return Name;
}

// Type keywords as the reader takes them: "INTEGER FLOAT". The kinds that
// are always valid have no keyword, so a type that allows every plain kind
// is written "?VARIABLE", the one word that reads back as all of them.
std::string TypeKeywords(TKBTypes Types) {
  if (KBSlotTypes - KBMultiSlotTypes <= Types) return STypeVariableKeyword;
  return VXUpperCase(SetToString(Types - KBAlwaysValidTypes, " ", false));
}

// The contents of a type's "(type ...)": an ancestor is named, and only the
// kinds that it lacks are listed behind it.
std::string BaseTypesText(const TKBDefinedType& Type) {
  if (const IKBDefinedType Ancestor = Type.GetAncestor())
    return Ancestor->GetName() + " " + TypeKeywords(Type.GetBaseTypes() - Ancestor->GetBaseTypes());
  return TypeKeywords(Type.GetBaseTypes());
}

// A range bound as a whole number, cut toward zero; adding 0.0 turns -0 into 0.
std::string WholeNumber(double Value) { return Format("%.0f", std::trunc(Value) + 0.0); }

std::string RangeClause(const TKBDefinedType& Type) {
  if (!Type.GetRangeLimited()) return {};
  const double Low = Type.GetMinRange();
  const double High = Type.GetMaxRange();
  return IndentString() + "(range " + (Low == KBOpenMinRange ? std::string(STypeVariableKeyword) : WholeNumber(Low)) +
         " " + (High == KBOpenMaxRange ? std::string(STypeVariableKeyword) : WholeNumber(High)) + ") " + sLineBreak;
}

std::string UnitsClause(const TKBDefinedType& Type) {
  const std::string& Units = Type.GetUnits();
  if (Units.empty()) return {};
  const std::string Text = Units.find(' ') == std::string::npos ? Units : "\"" + Units + "\"";
  return IndentString() + "(units " + Text + ")" + sLineBreak;
}

std::string CardinalityClause(const TKBDefinedType& Type) {
  if (!Type.GetCardinalityLimited()) return {};
  // The minimum is never negative, so only the maximum can be open.
  const std::int32_t Max = Type.GetMaxCardinality();
  return IndentString() + "(cardinality " + std::to_string(Type.GetMinCardinality()) + " " +
         (Max == KBOpenMaxCardinality ? std::string(STypeVariableKeyword) : std::to_string(Max)) + ") " + sLineBreak;
}

// "(default ...) " or "(default-dynamic ...) ", empty when the default says
// nothing: nil, the empty value, the empty list, or a value with empty text.
std::string DefaultClause(const TFactSlot& Slot) {
  const IKBValue Default = Slot.GetSlotDefault();
  if (!Default || Default->Equals(FCNil) || Default->Equals(FCNilList)) return {};
  // An empty fuzzy set is what a fuzzy slot holds without a default.
  if (Default->GetDType() == dtFuzzy)
    if (const IFuzzySet Set = Default->GetAsFuzzy(); !Set || Set->GetPointCount() == 0) return {};
  const std::string Form = FormOf(Default);
  if (Trim(Form).empty()) return {};
  return (Slot.GetDefaultDynamic() ? "(default-dynamic " : "(default ") + Form + ") ";
}

}  // namespace

// ---------------------------------------------------------------- facts and calls

std::string PrettyPrint(const IFact& Fact) { return Fact ? PrettyPrint(*Fact) : std::string(); }

std::string PrettyPrint(const TFact& Fact) {
  const IFactTemplate Template = Fact.GetTemplate();
  std::string Result = "(";
  if (!Template) {
    for (IInterfaceIterator Values = Fact.GetSlotValues(); Values->HasMoreElements();)
      Result += FormOf(Values->NextElement().As<TKBValue>()) + " ";
    return Result + ")";
  }
  Result += Template->GetTemplateName();
  if (Template->IsOrdered()) {
    const std::string Data = PrettyPrint(Fact, SDefaultSlotName);
    return Data.empty() ? Result + ")" : Result + " " + Data + ")";
  }
  const TStringList<>& Names = Template->GetSlotNames();
  for (int I = 0; I < Names.GetCount(); ++I) {
    const std::string Slot = PrettyPrint(Fact, Names.Get(I));
    if (!Slot.empty()) Result += " " + Slot;
  }
  return Result + ")";
}

std::string PrettyPrint(const TFact& Fact, const TKBName& SlotName) {
  return PrettyPrint(Fact, SlotName, Fact.GetValue(SlotName));
}

std::string PrettyPrint(const TFact& Fact, const TKBName& SlotName, const IKBValue& Value) {
  return PrettyPrint(Fact, SlotName, FormOf(Value));
}

std::string PrettyPrint(const TFact& Fact, const TKBName& SlotName, const std::string& Text) {
  if (Text.empty()) return {};
  const IFactTemplate Template = Fact.GetTemplate();
  if (Template && Template->IsOrdered()) return Text;
  return "(" + SlotName + " " + Text + ")";
}

std::string PrettyPrint(const IFunCall& FunCall, bool ModifyForm) {
  return FunCall ? PrettyPrint(*FunCall, ModifyForm) : std::string();
}

std::string PrettyPrint(const TFunctionCall& FunCall, bool ModifyForm) {
  std::string Result;
  if (!FunCall.GetComment().empty()) Result = CommentLines(FunCall.GetComment());
  Result += "(" + FunCall.GetName();
  for (int I = 0; I < FunCall.GetArgumentCount(); ++I) {
    const std::string Form = FormOf(FunCall.GetArgument(I));
    if (ModifyForm && I > 0)
      Result += " (" + Form + ")";
    else
      Result += " " + Form;
  }
  return CloseText(std::move(Result));
}

std::string PrettyPrint(const IFunCall& FunCall) { return FunCall ? PrettyPrint(*FunCall) : std::string(); }

std::string PrettyPrint(const TFunctionCall& FunCall) {
  return PrettyPrint(FunCall, FunCall.GetName() == "modify" || FunCall.GetName() == "duplicate");
}

// ---------------------------------------------------------------- templates and types

std::string PrettyPrint(const TFactSlot& Slot) {
  std::string Result = Slot.IsMultiSlot() ? "(multislot " : "(slot ";
  Result += Slot.GetName() + " ";
  const std::string Default = DefaultClause(Slot);
  const TKBTypes Types = Slot.GetSlotType();
  if (const IKBDefinedType Type = Slot.GetExtendedTypeInfo()) {
    // An implicit type's text ends in a line end, so the default needs none.
    Result += Type->GetImplicit() ? PrettyPrint(*Type, true) : "(type " + Type->GetName() + ")";
    if (!Default.empty()) Result += IndentString(2) + Default;
  } else if (Types == KBSlotTypes || Types == KBSlotTypes + KBMultiSlotTypes) {
    // Every kind is allowed, which is what a slot without "(type ...)" reads as.
    Result += Default;
  } else {
    if ((Types * KBMultiSlotTypes).Empty())
      Result += "(type " + TypeKeywords(Types) + ")";
    else
      Result += "(type " + TypeKeywords(Types - KBMultiSlotTypes) + ") ";
    if (!Default.empty()) Result += sLineBreak + IndentString(2) + Default;
  }
  return Result + ")";
}

std::string PrettyPrint(const TFactTemplate& Template, bool PrintModuleQualifiers) {
  std::string Result = "(deftemplate " + QualifiedName(Template, Template.GetTemplateName(), PrintModuleQualifiers);
  if (!Template.GetComment().empty()) Result += " " + QuotedComment(Template.GetComment());
  if (const IFactTemplate Parent = Template.GetParent())
    Result += sLineBreak + IndentString() + "extends " + Parent->GetTemplateName();
  if (Template.IsOrdered()) {
    // An ordered template shows its one slot only when a type constrains it.
    // The reader takes "extends" or "is-a", not both, so behind a parent the
    // slot is written out.
    IFactSlot Data;
    if (Template.ContainsSlot(SDefaultSlotName, Data))
      if (const IKBDefinedType Type = Data->GetExtendedTypeInfo())
        Result += Type->GetImplicit() || Template.GetParent() ? " " + Data->ToString() : " is-a " + Type->GetName();
  } else {
    Result += sLineBreak;
    const TFactTemplateSlots& Slots = Template.GetSlots();
    for (int I = 0; I < Slots.GetCount(); ++I)
      if (const IFactSlot& Slot = Slots.GetItemByIndex(I))
        Result += IndentString() + NestText(Slot->ToString()) + sLineBreak;
  }
  return CloseText(std::move(Result));
}

std::string PrettyPrint(const TKBDefinedType& DefinedType, bool PrintModuleQualifiers) {
  const bool Implicit = DefinedType.GetImplicit();
  std::string Result;
  const IKBDefinedType Ancestor = DefinedType.GetAncestor();
  if (Implicit && DefinedType.GetFuzzyType() && Ancestor) {
    // A slot's copy of a fuzzy type adds a count of items at most: the type
    // by name reads back the variable.
    return "(type " + Ancestor->GetName() + ")" + sLineBreak + CardinalityClause(DefinedType);
  }
  if (Implicit) {
    Result = "(type " + BaseTypesText(DefinedType) + ")" + sLineBreak;
  } else {
    Result = "(deftype " + QualifiedName(DefinedType, DefinedType.GetName(), PrintModuleQualifiers) + " ";
    if (!DefinedType.GetComment().empty())
      Result += sLineBreak + IndentString() + QuotedComment(DefinedType.GetComment()) + sLineBreak + IndentString();
    Result += "extends (type " + BaseTypesText(DefinedType) + ")" + sLineBreak;
  }

  if (const IFuzzyVariable Variable = DefinedType.GetFuzzyType()) {
    Result += PrettyPrint(*Variable);
  } else {
    // A clause that the ancestor states alike is inherited when read, so it is
    // left out.
    auto Append = [&](std::string (*Clause)(const TKBDefinedType&)) {
      const std::string Text = Clause(DefinedType);
      if (Text.empty() || (Ancestor && Text == Clause(*Ancestor))) return;
      Result += IndentString() + Text;
    };
    Append(RangeClause);
    Append(UnitsClause);
    Append(CardinalityClause);
    Append(GetAllowedString);
  }
  return Implicit ? Result : CloseText(std::move(Result));
}

// ---------------------------------------------------------------- patterns

namespace {

// The tests of one slot: joined by "&" within one position, by a blank
// between positions.
std::string TestsText(const TSlotTests& Tests) {
  std::string Result;
  const TKBPatternMatchTest* Previous = nullptr;
  for (const TKBPatternMatchTest* Test : Tests) {
    if (!Test) continue;
    if (Previous) Result += Previous->GetMultiSlotSubIndex() == Test->GetMultiSlotSubIndex() ? "&" : " ";
    if (Test->GetSlotTestType() == sttNotEquals) Result += "~";
    if (const IKBValue& Value = Test->GetSlotValue()) {
      if (Value->GetDType() == dtFunCall) Result += ":";
      Result += Value->GetToString();
    }
    Previous = Test;
  }
  return Result;
}

}  // namespace

std::string PrettyPrint(const TKBPattern& Pattern, IKnowledgeBase* Engine) {
  const IFactTemplate& Template = Pattern.GetTemplate();
  if (!Template) throw EKBException(_SNoTemplate);
  std::string Result;
  if (Pattern.GetName() == STestCE) {
    const TKBPatternMatchTest* Call = nullptr;
    for (int I = 0; I < Pattern.GetSlotCount() && !Call; ++I)
      if (Pattern.GetSlotTestCount(I) > 0) Call = Pattern.GetSlotTest(I, 0);
    Result = "(test ";
    if (Call && Call->GetSlotValue()) Result += Call->GetSlotValue()->GetToString();
    Result += ")";
    if (Call && Call->GetSlotTestType() == sttNotEquals) Result = "(not " + Result + ")";
  } else {
    // Tests with no text still stand for a position: a fresh variable keeps it.
    auto Tests = [&](int Slot) {
      std::string Text = TestsText(*Pattern.GetSlotTests(Slot));
      if (!Text.empty()) return Text;
      IFactSlot First;
      const bool Multi = Template->GetSlots().GetCount() > 0 &&
                         (First = Template->GetSlots().GetItemByIndex(0)) && First->IsMultiSlot();
      const std::string Prefix = Multi ? SMultiSlotVar : SSlotVar;
      return Engine ? Engine->GenerateSymbol(Prefix) : Prefix;
    };
    if (!Pattern.GetComment().empty()) Result = CommentLines(Pattern.GetComment());
    Result += "(" + Pattern.GetName() + " ";
    const int Data = Pattern.IndexOfSlotName(SDefaultSlotName);
    if (Data >= 0 && Pattern.GetSlotTestCount(Data) > 0) {
      Result += Tests(Data);
    } else {
      for (int I = 0; I < Pattern.GetSlotCount(); ++I)
        if (Pattern.GetSlotTestCount(I) > 0) Result += "(" + Pattern.GetSlotName(I) + " " + Tests(I) + ") ";
    }
    Result += ")";
    if (Pattern.GetUnique()) Result = "(unique " + Result + ")";
    if (Pattern.GetExplicit()) Result = "(explicit " + Result + ")";
    const std::int32_t Negated = Pattern.GetNegatedCount();
    if (Negated == 1) {
      Result = "(not " + Result + ")";
    } else if (Negated >= 2) {
      Result = "(exists " + Result + ")";
      for (std::int32_t I = Negated - 1; I >= 2; --I) Result = "(not " + Result + ")";
    }
  }
  if (!Pattern.GetBoundName().empty()) Result = "?" + Pattern.GetBoundName() + " <- " + Result;
  return Result;
}

// ---------------------------------------------------------------- fact sets, modules, functions, globals

std::string PrettyPrint(const TFactSet& FactSet, bool PrintModuleQualifiers) {
  std::string Result = "(deffacts ";
  if (PrintModuleQualifiers) Result += (FactSet.GetModule().empty() ? std::string(MainModuleName) : FactSet.GetModule()) + "::";
  Result += FactSet.GetFactSetName();
  if (!FactSet.GetComment().empty()) Result += " " + QuotedComment(FactSet.GetComment());
  Result += sLineBreak;
  const TFactSetFacts* Facts = FactSet.GetFacts();
  for (int I = 0; I < FactSet.GetCount(); ++I) {
    const IFact Fact = Facts->GetFactData(I);
    Result += IndentString() + NestText(Fact ? Fact->ToString() : Facts->GetString(I)) + sLineBreak;
  }
  return CloseText(std::move(Result));
}

namespace {

std::string ShareStatement(const std::string& Head, const std::string& Kind, TSharedConstructs Shared,
                           const TStrings& Names) {
  std::string Result = Head + Kind;
  if (Shared == mkbNone) return Result + " ?NONE)";
  if (Shared == mkbAll) return Result + " ?ALL)";
  Result += " ";
  for (int I = 0; I < Names.GetCount(); ++I) Result += Names.Get(I) + " ";
  return Result + ")";
}

// The lines of one declaration: types first, then templates; what is not
// shared at all is not written.
std::string ShareLines(const TModuleImportExport& Declaration, const std::string& Head, const std::string& Prefix) {
  std::string Result;
  if (Declaration.GetDefinedTypesShared() != mkbNone)
    Result += IndentString() +
              ShareStatement(Head, Prefix + "deftype", Declaration.GetDefinedTypesShared(), Declaration.GetDefinedTypes()) +
              sLineBreak;
  if (Declaration.GetFactTemplatesShared() != mkbNone)
    Result += IndentString() +
              ShareStatement(Head, Prefix + "deftemplate", Declaration.GetFactTemplatesShared(),
                             Declaration.GetFactTemplates()) +
              sLineBreak;
  return Result;
}

}  // namespace

std::string PrettyPrint(const TModule& Module) {
  std::string Result = "(defmodule " + Module.GetName();
  if (!Module.GetComment().empty()) Result += " " + QuotedComment(Module.GetComment());
  Result += sLineBreak;
  if (const IModuleExport Export = Module.GetExportItems()) Result += ShareLines(*Export, "(export ", "");
  for (int I = 0; I < Module.GetImportModuleCount(); ++I)
    if (const IModuleImport Import = Module.GetImportModule(I))
      Result += ShareLines(*Import, "(import ", Import->GetModule() + " ");
  return CloseText(std::move(Result));
}

std::string PrettyPrint(const TInterpretedFunction& Function) {
  std::string Result = "(deffunction " + Function.GetFunctionName() + " (";
  bool First = true;
  for (int I = 0; I < Function.GetArgumentCount(); ++I) {
    const IKBValue Argument = Function.GetArguments(I);
    if (!Argument || (Argument->GetDType() != dtVariable && Argument->GetDType() != dtMultiVariable)) continue;
    if (!First) Result += " ";
    Result += Argument->GetToString();
    First = false;
  }
  Result += std::string(")") + sLineBreak;
  if (!Function.GetComment().empty()) Result += IndentString() + QuotedComment(Function.GetComment()) + sLineBreak;
  for (int I = 0; I < Function.GetStatementCount(); ++I)
    if (const IKBValue Statement = Function.GetStatements(I))
      Result += IndentString() + NestText(Statement->GetToString()) + sLineBreak;
  return Result + ")" + sLineBreak;
}

namespace {

// Each line of Text wrapped, every line led by ";; " and an indent.
std::string CommentBlock(const std::string& Text) {
  const std::string Lead = std::string(";; ") + IndentString(1);
  const std::string Break = std::string(sLineBreak) + Lead;
  std::string Result;
  std::size_t Start = 0;
  while (true) {
    const std::size_t End = Text.find('\n', Start);
    std::string Line = Text.substr(Start, End == std::string::npos ? std::string::npos : End - Start);
    if (!Line.empty() && Line.back() == '\r') Line.pop_back();
    if (!Result.empty()) Result += sLineBreak;
    Result += Lead + WrapText(Line, Break, static_cast<std::size_t>(WrapTextColumn));
    if (End == std::string::npos) break;
    Start = End + 1;
  }
  return Result;
}

}  // namespace

std::string PrettyPrint(const TKBUserFunction& Function) {
  if (const auto* Interpreted = dynamic_cast<const TInterpretedFunction*>(&Function)) return PrettyPrint(*Interpreted);
  std::string Result = ";; " + Function.GetFunctionName() + " function" + sLineBreak;
  if (Function.GetComment().empty()) return Result;
  const std::string Arguments = Trim(Function.GetArgumentString());
  const std::string Syntax = Format(RuleSyntaxFormat, Arguments.empty() ? Function.GetFunctionName()
                                                                         : Function.GetFunctionName() + " " + Arguments);
  Result += CommentBlock(Function.GetComment());
  Result += std::string(sLineBreak) + ";; " + sLineBreak + ";; ";
  Result += WrapText(TrimLeft(Format(SyntaxFormat, Syntax)), std::string(sLineBreak) + ";; " + IndentString(1),
                     static_cast<std::size_t>(WrapTextColumn));
  return Result;
}

std::string PrettyPrint(const std::string& Name, const IKBValue& Value) {
  if (Name.empty()) return {};
  return (Name.front() == '?' ? Name : "?" + Name) + " = " + FormOf(Value);
}

std::string PrettyPrint(const TSingletonsVector& Singletons) {
  if (Singletons.GetCount() == 0) return {};
  std::string Result = "(";
  for (int I = 0; I < Singletons.GetCount(); ++I)
    Result += "(" + FormOf(Singletons.GetXValues(I)) + " " + FormOf(Singletons.GetYValues(I)) + ") ";
  return Result + ")";
}

// ---------------------------------------------------------------- fuzzy sets and variables

namespace {

constexpr double ShapeEpsilon = 0.0001;

std::string PointsText(const TFuzzySet& Set) {
  std::string Result = "(";
  for (const TFuzzyPoint& P : Set.GetPoints()) Result += "(" + Format("%.4f %.4f", P.X, P.Y) + ") ";
  return Result + ")";
}

// A shape's text; the points when the set no longer has the shape's form.
std::string ShapeText(const TFuzzySet& Set) {
  const TFuzzyPoints& Points = Set.GetPoints();
  const std::size_t Count = Points.size();
  switch (Set.GetFuzzySetType()) {
    case fstTriangle:
      if (Count >= 3) return Format("(tri %.4f %.4f %.4f)", Points[0].X, Points[1].X, Points[2].X);
      break;
    case fstZ:
    case fstS:
      if (Count >= 1)
        return Format(Set.GetFuzzySetType() == fstZ ? "(z %.4f %.4f)" : "(s %.4f %.4f)", Points.front().X,
                      Points.back().X);
      break;
    case fstPi:
    case fstBeta: {
      if (Count < 3) break;
      double Centre = 0.0;
      try {
        Centre = Set.MaximumDefuzzify();
      } catch (const EFuzzyException&) {
        break;
      }
      const double Low = Points.front().X;
      const double High = Points.back().X;
      if (Set.GetFuzzySetType() == fstPi)
        return FloatEquals(Centre - Low, High - Centre, ShapeEpsilon)
                   ? Format("(pi %.4f %.4f)", Centre, Centre - Low)
                   : Format("(pi %.4f %.4f %.4f)", Low, Centre, High);
      // The inflection and weight are those the curve was made with, so no
      // division by a range of 0 or a single step is needed to find them.
      const double Range = Centre - Low;
      std::string Result = Format("(beta %.4f %.4f", Centre, Range);
      const double Inflection = Set.GetBetaInflection();
      if (std::fabs(Inflection - (Range + (Centre - Range) / 2.0)) > ShapeEpsilon) {
        Result += Format(" %.4f", Inflection);
        if (std::fabs(Set.GetBetaWeight() - 1.0) > ShapeEpsilon) Result += Format(" %.4f", Set.GetBetaWeight());
      }
      return Result + ")";
    }
    case fstCustom:
      if (!Set.GetExpression().empty()) return Set.GetExpression();
      break;
  }
  return PointsText(Set);
}

}  // namespace

std::string FuzzyShapeText(const TFuzzySet& FuzzySet) { return ShapeText(FuzzySet); }

std::string PrettyPrint(const TFuzzySet& FuzzySet, bool AsDefinition) {
  const bool Empty = FuzzySet.GetName() == SEmptyFuzzy;
  if (!AsDefinition) return Empty ? std::string() : FuzzySet.GetName();
  if (Empty) return ShapeText(FuzzySet);
  return "(term " + FuzzySet.GetName() + " " + ShapeText(FuzzySet) + ")";
}

std::string PrettyPrint(const TFuzzyVariable& Variable) {
  const std::string Indent = IndentString();
  std::string Result = Indent + Format("(range %.4f %.4f)", Variable.GetUniverseLow(), Variable.GetUniverseHigh()) +
                       sLineBreak;
  if (const std::string& Units = Variable.GetUnits(); !Units.empty())
    Result += Indent + "(units " + (Units.find(' ') == std::string::npos ? Units : "\"" + Units + "\"") + ")" +
              sLineBreak;
  Result += Indent + "(values " + sLineBreak;
  std::vector<const TFuzzySet*> Terms;
  for (int I = 0; I < Variable.GetTermCount(); ++I)
    if (const IFuzzySet Set = Variable.GetTerm(I); Set && Set->GetIsTerm()) Terms.push_back(Set.get());
  std::stable_sort(Terms.begin(), Terms.end(), [](const TFuzzySet* A, const TFuzzySet* B) {
    return A->GetOrderNumber() < B->GetOrderNumber();
  });
  for (const TFuzzySet* Set : Terms) Result += IndentString(2) + PrettyPrint(*Set, true) + sLineBreak;
  return Result + Indent + ")";
}

}  // namespace cogent
