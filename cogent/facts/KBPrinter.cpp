// The writer of facts, calls, templates, their slots and defined types.
#include "cogent/facts/KBPrinter.h"

#include <cmath>
#include <string>

#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBModule.h"
#include "cogent/host/SysUtils.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

namespace {

// The text a value shows in the rule language; empty for nil.
std::string FormOf(const IKBValue& Value) { return Value ? Value->GetToString() : std::string(); }

// Removes the white space at the right end and closes the text.
std::string Close(std::string Text) {
  while (!Text.empty() && (Text.back() == ' ' || Text.back() == '\t' || Text.back() == '\r' || Text.back() == '\n'))
    Text.pop_back();
  return Text + ")";
}

// A text nested one level deeper: each line end is followed by the indent.
std::string Nest(const std::string& Text) {
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

// A construct's comment: between double quotes, as it stands, unescaped.
std::string QuotedComment(const std::string& Comment) { return "\"" + Comment + "\""; }

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
  return Close(std::move(Result));
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
        Result += IndentString() + Nest(Slot->ToString()) + sLineBreak;
  }
  return Close(std::move(Result));
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
    Result += Variable->ToString();
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
  return Implicit ? Result : Close(std::move(Result));
}

}  // namespace cogent
