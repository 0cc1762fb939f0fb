#pragma once
// Small text helpers shared by the writers of the rule language. Internal to
// the library: not part of what a host includes.

#include <string>

#include "cogent/common/VXCommon.h"
#include "cogent/host/SysUtils.h"
#include "cogent/values/KBValue.h"

namespace cogent::print {

// The text a value shows in the rule language; empty for nil.
inline std::string FormOf(const IKBValue& Value) { return Value ? Value->GetToString() : std::string(); }

// Removes the white space at the right end and closes the text.
inline std::string Close(std::string Text) {
  while (!Text.empty() && (Text.back() == ' ' || Text.back() == '\t' || Text.back() == '\r' || Text.back() == '\n'))
    Text.pop_back();
  return Text + ")";
}

// A text nested one level deeper: each line end is followed by the indent.
inline std::string Nest(const std::string& Text) {
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
inline std::string QuotedComment(const std::string& Comment) { return "\"" + Comment + "\""; }

}  // namespace cogent::print
