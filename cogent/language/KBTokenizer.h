#pragma once
// The rule language's lexical tokens and the token streams that hand them
// out, reading ahead by one whole top-level expression so that the parser
// may put tokens back freely and report errors with the expression's text.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cogent/common/VXCommon.h"
#include "cogent/common/VXTextStream.h"
#include "cogent/foundation/KBConsts.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TComponentNexus;

// ---------------------------------------------------------------- TKBStreamToken

// A token kind that stands for a value of its own: a word, a string, a
// number or a variable.
constexpr bool IsWordOrNumber(std::int32_t Kind) noexcept {
  return Kind == dtAtom || Kind == dtString || Kind == dtInteger || Kind == dtFloat || Kind == dtVariable ||
         Kind == dtMultiVariable;
}

class TKBStreamTokenPersistent : public TPersistent {};

// One token. DataType shares one range between the TKBType ordinals and
// character codes: dtNone (end of stream, text "EOF"), dtAtom, dtString
// (escapes removed), dtInteger and dtFloat (value in Number, no text),
// dtVariable and dtMultiVariable (name without "?" or "$?"), and the
// punctuation '&', '(', ')', '=', '[', ']', '|', '~' with the character as
// text.
class TKBStreamToken : public TKBStreamTokenPersistent, public ICloneable {
public:
  TKBStreamToken() = default;
  TKBStreamToken(std::int32_t ADataType, std::int32_t ALineNumber, std::string AText = {}, double ANumber = 0);

  std::int32_t GetDataType() const noexcept { return FDataType; }
  void SetDataType(std::int32_t Value) noexcept { FDataType = Value; }
  std::int32_t GetLineNumber() const noexcept { return FLineNumber; }
  void SetLineNumber(std::int32_t Value) noexcept { FLineNumber = Value; }
  double GetNumber() const noexcept { return FNumber; }
  void SetNumber(double Value) noexcept { FNumber = Value; }
  const std::string& GetText() const noexcept { return FText; }
  void SetText(std::string Value) { FText = std::move(Value); }
  // The white space and comments that stood before the token.
  const std::string& GetWhitespace() const noexcept { return FWhitespace; }
  void SetWhitespace(std::string Value) { FWhitespace = std::move(Value); }
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

  // The end of the stream.
  bool IsEOF() const noexcept { return FDataType == dtNone; }
  // The form written into an expression's text and quoted in messages.
  std::string ToString() const override;

  // The value the token stands for: the shared constants for "TRUE",
  // "FALSE", "nil" (any case) and the end token, otherwise a new value.
  IKBValue Value() const;
  // In a TKBContext a variable token gives its binding's value itself; an
  // unbound name raises _SUnknownVariable, or _SEncodingProblem for a name
  // of two or more question marks (what a lost encoding leaves of a name).
  // Any other object counts as no context.
  IKBValue Value(TObject* Context) const;
  // Takes the value's kind and its number or its text.
  void SetValue(const IKBValue& Value);

  // True when Other is a token of the same kind, line and number; the text
  // is not compared.
  bool Equals(const TPersistent* Other) const;
  bool Equals(const IInterface& Other) const override;
  void Assign(TPersistent* Source) override;
  void Assign(const IInterface& Source) override;
  IStreamToken Clone() const;
  IInterface CloneInterface() const override;

protected:
  ~TKBStreamToken() override = default;

private:
  [[noreturn]] static void RaiseUnknownVariable(const std::string& Name);

  std::int32_t FDataType = dtNone;
  std::int32_t FLineNumber = 0;
  double FNumber = 0;
  std::string FText;
  std::intptr_t FTag = 0;
  std::string FWhitespace;
};

// ---------------------------------------------------------------- TKBTokenizerStream

// The abstract token source over a character stream.
class TKBTokenizerStream : public TGTextStream {
public:
  // Borrows AStream unless AOwnsStream; a nil encoding means the stream's
  // preamble decides, UTF-8 without one.
  explicit TKBTokenizerStream(TStream* AStream, TEncoding* AEncoding = nullptr, bool AOwnsStream = false);

  // Drops the tokens read ahead and the expression's text.
  virtual void Clear() = 0;
  // Drops the rest of the current line.
  virtual void DiscardUntilEOL() = 0;
  // Skips the rest of an expression that failed to parse.
  virtual void MoveToNextConstruct() = 0;
  // The next token, never nil; an end token, again and again, at the end.
  virtual IStreamToken NextToken() = 0;
  // Makes Token the next token again; the last put back comes first.
  virtual void PutBackToken(const IStreamToken& Token) = 0;
  // The name at the head of the next parenthesised expression.
  virtual std::string Head() = 0;
  // The token last handed out, fetched first when there is none.
  virtual IStreamToken GetCurrentToken() = 0;
  // The text of the current expression as handed out so far.
  std::string ToString() const override = 0;
};

// ---------------------------------------------------------------- TKBRuleStream

// The token stream of the rule language.
class TKBRuleStream : public TKBTokenizerStream {
public:
  explicit TKBRuleStream(TStream* AStream, TEncoding* AEncoding = nullptr, bool AOwnsStream = false);
  ~TKBRuleStream() override;

  void Clear() override;
  void DiscardUntilEOL() override;
  void MoveToNextConstruct() override;
  IStreamToken NextToken() override;
  void PutBackToken(const IStreamToken& Token) override;
  std::string Head() override;
  IStreamToken GetCurrentToken() override;
  std::string ToString() const override;

  // Both also collect what they take as the next token's white space.
  std::string GetLine() override;
  bool SkipInLineSpaces() override;

  // The engine that names the anonymous wildcards; without one the stream
  // numbers them itself. Forgotten when the engine goes.
  TComponent* GetEngine() const noexcept { return FOwner; }
  void SetEngine(TComponent* Value);
  // Open parentheses among the tokens handed out.
  std::int32_t GetParenthesisLevel() const noexcept { return FParenthesisLevel; }
  // The top-level expression last read ahead, as written, without the
  // blanks and comments before it.
  const std::string& GetExpressionSource() const noexcept { return FExpressionSource; }

protected:
  // Reads one token from the characters.
  virtual IStreamToken BuildNextToken();
  // Makes the token of a word (Hint 0), a string ('"'), a punctuation
  // character (its code), the end (-1, a word when Text is not empty) or a
  // line end (13); any other hint raises _SInvalidTokenHint.
  virtual IStreamToken FinishToken(std::int32_t Hint, const std::string& Text);

private:
  // Reads ahead one whole expression into FStack.
  void PrepareSExp();
  // The content of a string whose opening quote was read, into FText.
  void ReadString();
  std::string GenerateSymbol(const char* Prefix);

  std::vector<IStreamToken> FStack;  // the next token at the back
  std::string FText;
  TComponent* FOwner = nullptr;
  TVXStringStream FToString;
  IStreamToken FCurrentToken;
  std::int32_t FParenthesisLevel = 0;
  std::vector<IStreamToken> FTempStack;
  std::string FWhiteSpace;
  std::string FExpressionSource;
  std::unique_ptr<TComponentNexus> FOwnerNexus;
  std::int64_t FSymbolIndex = 0;  // for wildcards without an engine
};

}  // namespace cogent
