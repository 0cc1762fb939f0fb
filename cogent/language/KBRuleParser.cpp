#include "cogent/language/KBRuleParser.h"
#include "cogent/language/PrintSupport.h"

namespace cogent {

namespace {
using print::Close;
using print::FormOf;

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
}  // namespace

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

}  // namespace cogent
