#pragma once
// The parser of the rule language; its writer is the facts layer's printer.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/facts/KBPrinter.h"
#include "cogent/language/KBParser.h"
#include "cogent/language/KBTokenizer.h"

namespace cogent {

// ---------------------------------------------------------------- TKBRuleParser

// A function whose parenthesised arguments are no calls: facts (a range of 0
// to 0) or slot pairs from argument Start to End.
struct TSlotArgRecord {
  std::uint16_t Start = 0;
  std::uint16_t End = 0;
};

// The parser of the rule language, reading a TKBRuleStream by recursive
// descent. Every grammar error goes through ParseError, so that a host sees
// one exception class with one message form.
class TKBRuleParser : public TKBParser {
public:
  // The owner should be an engine; without one, the operations that register
  // constructs raise _SUnknownEngine.
  TKBRuleParser(TComponent* AOwner, TGTextStream* AStream);

  // Also copies the slot functions of another rule parser.
  void Assign(TPersistent* Source) override;
  void SetStream(TGTextStream* Value) override;
  // Nil when the stream is no rule stream.
  TKBRuleStream* GetStream() const noexcept { return FRuleStream; }
  IKnowledgeBase* GetEngine() const noexcept { return FEngine; }

  void Clear() override;
  std::string GenerateSymbol(const std::string& Prefix) override;
  IKBValue GenerateVariable(const TStrings* Used, const IFactTemplate& Template, const std::string& SlotName,
                            bool Unique) override;
  IKBValue GenerateVariable(const TStrings* Used, const IFactTemplate& Template, const std::string& Prefix,
                            const std::string& SlotName, bool Unique) override;
  std::string GetSyntaxStatement(const IUserFunction& Function) override;
  TParsedType GetConstructType() override;
  std::string GetConstructName(TParsedType ParsedType) override;

  bool Parse(bool Execute) override;
  bool ParseExpression(bool Execute) override;
  bool LoadFacts() override;

  IKBDefinedType ParseDefinedType() override;
  std::unique_ptr<TFactSet> ParseFactSet() override;
  IFact ParseFact() override;
  std::string ParseFactSlot(const IFact& Fact) override;
  IFactTemplate ParseFactTemplate() override;
  IFactSlot ParseFactTemplateSlot() override;
  IUserFunction ParseFunction() override;
  IFunCall ParseFunCall() override;
  IFuzzySet ParseFuzzySet(const IFuzzyVariable& Variable) override;
  IFuzzyVariable ParseFuzzyVariable() override;
  std::string ParseFullName(std::string& Module) override;
  IKBValue ParseVariable(std::string& Name) override;
  bool ParseGlobalVariables() override;
  IValueVector ParseList() override;
  IKBValue ParseNExecuteFunCall() override;
  IModule ParseModule() override;
  std::unique_ptr<TKBPattern> ParsePattern(std::int32_t NegatedCount, TRuleVariables& Variables) override;
  std::unique_ptr<TRule> ParseRule() override;
  void ParseRuleActions(TRule* Rule, TRuleVariables& Variables) override;
  void ParseRulePatterns(TRule* Rule, TRuleVariables& Variables) override;
  ISingletonsVector ParseSingletons() override;
  IValueVector ParseValuePair() override;
  IKBValue ParseValue() override;
  IKBValue ParseValue(const IFactSlot& Slot) override;
  IKBValue ParseValue(TKBTypes Types, const IKBDefinedType& DefinedType) override;

  // Prefix, the slot's name when given, and Index when above 0.
  virtual std::string GenerateVarName(std::int32_t Index, const IFactTemplate& Template, const std::string& Prefix,
                                      const std::string& SlotName);
  // Classifies a token that was read; a '(' is put back to look at the head.
  virtual TParsedType GetConstructType(const IStreamToken& Token);
  // Raises EKBParseException in the parse frame: Message, Where (the
  // operation that found the fault), the current token's line and the text
  // of the expression, shortened in the middle when long.
  [[noreturn]] virtual void ParseError(const std::string& Where, const std::string& Message);
  template <class Arg, class... Args>
  [[noreturn]] void ParseError(const std::string& Where, std::string_view Fmt, const Arg& First, const Args&... Rest) {
    const std::string Message = Format(Fmt, First, Rest...);
    ParseError(Where, Message);
    // Reached only through an override that failed to raise.
    RaiseParseError(Where, Message);
  }

  // "(" Keyword full-name ["comment"]: a qualified name switches the
  // engine's current module, which stays; Module is the construct's module.
  // Returns the first token behind the header.
  virtual IStreamToken ParseHeader(std::string& Name, std::string& Comment, std::string& Module, bool HasComment,
                                   const std::string& Keyword, const std::string& Where, const std::string& Message);
  // The same for constructs without modules: the name is taken as it stands.
  virtual IStreamToken ParseHeader(std::string& Name, std::string& Comment, bool HasComment,
                                   const std::string& Keyword, const std::string& Where, const std::string& Message);
  // The type names up to ")", which is put back; a defined type among them
  // comes back in DefinedType.
  virtual TKBTypes ParseSlotTypes(IKBDefinedType& DefinedType);
  // "(range low high)" or "(cardinality low high)" into the type, or with no
  // type into the fuzzy variable's universe. Returns the closing token.
  IStreamToken ParseRangeAndCardinality(const IKBDefinedType& DefinedType, const IFuzzyVariable& FuzzyVariable,
                                        bool AllowVariables, bool IsCardinality);
  // "(allowed-... item*)" into the type's allowed lists. Returns the closing
  // token.
  IStreamToken ParseAllowedEnumerations(const IKBDefinedType& DefinedType);
  // Atoms and strings up to ")" or the end, which is put back, into Strings.
  void ParseNameList(TStrings& Strings);

  // A fuzzy term or slot value evaluated by the engine as a fuzzy expression
  // of Variable: a fuzzy value, a list of them, or FCNil for a kind that no
  // expression holds. Nil for what must wait: calls of shape functions that
  // are not registered, and without a context variables and calls, alone or
  // in an expression.
  IKBValue FuzzyTermValue(const IFuzzyVariable& Variable, const IKBValue& Value, TKBContext* Context);
  // A call of a shape function (s, z, tri, pi, beta) that is not registered.
  bool AwaitsShapeFunction(const IKBValue& Value) const;
  // The owner, when it reads and prints fuzzy text for sets and variables.
  IFuzzyParser* GetFuzzyParser() const;

  // Which functions take facts or slot pairs as arguments.
  const TStringList<TSlotArgRecord>& GetSlotFunctions() const noexcept { return FSlotFunctions; }
  void SetSlotFunctions(const TStringList<TSlotArgRecord>& Value);
  void AddSlotFunction(const std::string& Name, std::uint16_t Start, std::uint16_t End);
  // The index of the function's entry, -1 when it has none.
  int IndexOfSlotFunction(const std::string& Name) const { return FSlotFunctions.IndexOf(Name); }
  std::uint16_t GetSlotFunctionStart(int Index) const { return FSlotFunctions.GetData(Index).Start; }
  // An End of 0 stands for "to the last argument".
  std::uint16_t GetSlotFunctionEnd(int Index) const;

protected:
  // The stream and the engine, or the errors of their absence.
  TKBRuleStream& Stream() const;
  IKnowledgeBase& Engine() const;

private:
  // What ParseError raises.
  [[noreturn]] void RaiseParseError(const std::string& Where, const std::string& Message) const;

  // The parts of a defrule. A slot's constraints are read term by term at
  // a position that the connectives move.
  struct TSlotPosition {
    TKBPattern* Pattern;
    std::string SlotName;
    bool MultiSlot;
    bool Fuzzy;
    // The variable that a fuzzy slot's tests are read against.
    IFuzzyVariable FuzzyVariable;
    std::int32_t SubIndex;
    bool Conjunction;
  };
  // "(declare property*)" behind its "(": gives the token after it.
  IStreamToken ParseRuleDeclaration(TRule* Rule);
  // "(test call)" behind its head.
  std::unique_ptr<TKBPattern> ParseTestElement(std::int32_t NegatedCount);
  // A pattern on the template Name, behind its head, up to its ")".
  std::unique_ptr<TKBPattern> ParseFactPattern(const std::string& Name, std::int32_t NegatedCount,
                                               TRuleVariables& Variables);
  // One term, starting with Token, as tests at the position.
  void ParseConstraintTerm(IStreamToken Token, TSlotPosition& Position, TRuleVariables& Variables);

  IKnowledgeBase* FEngine;
  TKBRuleStream* FRuleStream = nullptr;
  TStringList<TSlotArgRecord> FSlotFunctions;
  // How deep the calls being read are nested: the grammar recurses, so text
  // nested without end must end in a parse error, not in a stack overflow.
  int FCallDepth = 0;
};

// Calls nested deeper than this are refused by the parser.
inline constexpr int MaxCallNesting = 500;

}  // namespace cogent
