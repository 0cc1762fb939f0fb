// The engine's function table as functions see it.

#include "cogent/common/VXCommon.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"

namespace cogent {

namespace {

// Each line of Text wrapped, every line led by ";; " and an indent.
std::string CommentBlock(const std::string& Text) {
  const std::string Lead = std::string(";; ") + IndentString(1);
  const std::string Break = std::string(sLineBreak) + Lead;
  std::string Result;
  std::size_t Start = 0;
  while (true) {
    std::size_t End = Text.find('\n', Start);
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

std::string TInferenceEngine::PrettyPrint(const IUserFunction& UserFunction) const {
  if (!UserFunction) return {};
  std::string Result = ";; " + UserFunction->GetFunctionName() + " function" + sLineBreak;
  if (UserFunction->GetComment().empty()) return Result;
  const std::string Arguments = Trim(UserFunction->GetArgumentString());
  const std::string Syntax =
      Format(RuleSyntaxFormat, Arguments.empty() ? UserFunction->GetFunctionName()
                                                 : UserFunction->GetFunctionName() + " " + Arguments);
  Result += CommentBlock(UserFunction->GetComment());
  Result += std::string(sLineBreak) + ";; " + sLineBreak + ";; ";
  Result += WrapText(TrimLeft(Format(SyntaxFormat, Syntax)), std::string(sLineBreak) + ";; " + IndentString(1),
                     static_cast<std::size_t>(WrapTextColumn));
  return Result;
}

void TInferenceEngine::AddUserFunction(const IUserFunction& UserFunction) {
  // Nothing enters a table that is gone.
  if (!UserFunction || !FUserFunctions) return;
  FUserFunctions->Add(UserFunction);
}

void TInferenceEngine::RemoveUserFunction(const IUserFunction& UserFunction) {
  if (!UserFunction || !FUserFunctions) return;
  IUserFunction Present;
  if (FUserFunctions->TryGetValue(UserFunction->GetFunctionName(), Present) && Present == UserFunction)
    FUserFunctions->Remove(UserFunction->GetFunctionName());
}

bool TInferenceEngine::ContainsUserFunction(const std::string& Name) const {
  return FUserFunctions && FUserFunctions->ContainsKey(Name);
}

bool TInferenceEngine::ContainsUserFunction(const std::string& Name, IUserFunction& UserFunction) const {
  UserFunction = nullptr;
  return FUserFunctions && FUserFunctions->TryGetValue(Name, UserFunction);
}

IUserFunction TInferenceEngine::GetUserFunction(const std::string& Name) const {
  IUserFunction Result;
  if (FUserFunctions) FUserFunctions->TryGetValue(Name, Result);
  return Result;
}

void TInferenceEngine::SetUserFunction(const std::string& Name, const IUserFunction& UserFunction) {
  if (!FUserFunctions) return;
  if (!UserFunction) {
    FUserFunctions->Remove(Name);
    return;
  }
  FUserFunctions->Put(Name, UserFunction);
}

}  // namespace cogent
