#pragma once
// The abstract parser of the rule language, its events and its exception.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "cogent/common/VXTextStream.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBSlotTest.h"
#include "cogent/foundation/KBConsts.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/foundation/VXCollections.h"
#include "cogent/fuzzy/VXFuzzyLogic.h"
#include "cogent/rules/KBRule.h"
#include "cogent/values/KBValue.h"

namespace cogent {

// A parse error: the line of the current token, and a list of what was
// expected that nothing in the engine fills.
class EKBParseException : public EKBException {
public:
  explicit EKBParseException(std::string AMessage, std::int32_t ALineNumber = 0)
      : EKBException(std::move(AMessage)), FLineNumber(ALineNumber) {}
  EKBParseException(const EKBParseException& Other) : EKBException(Other), FLineNumber(Other.FLineNumber) {}
  EKBParseException& operator=(const EKBParseException& Other) {
    EKBException::operator=(Other);
    FLineNumber = Other.FLineNumber;
    FExpected.reset();
    return *this;
  }

  std::int32_t GetLineNumber() const noexcept { return FLineNumber; }
  void SetLineNumber(std::int32_t Value) noexcept { FLineNumber = Value; }
  // Made on first read.
  TStrings& GetExpected() {
    if (!FExpected) FExpected = std::make_unique<TStringList<>>();
    return *FExpected;
  }

private:
  std::int32_t FLineNumber;
  std::unique_ptr<TStringList<>> FExpected;
};

// ---------------------------------------------------------------- TParsedType

// The kind of a top-level construct.
enum TParsedType : std::uint8_t {
  ptNone,
  ptValue,
  ptFunCall,
  ptRule,
  ptFactSet,
  ptFactTemplate,
  ptFunction,
  ptGlobals,
  ptDefType,
  ptDefModule,
  ptEOF
};
std::string EnumName(TParsedType V);

// The variables of a rule under construction: the token kind of each
// variable's first use in a pattern, dtVariable or dtMultiVariable.
using TRuleVariables = TVXStringHashTable<std::int32_t>;

// ---------------------------------------------------------------- events

// After each top-level construct: its kind, the object made (a rule or a fact
// set) and the interface made, each nil where there is none.
using TParseEvent =
    std::function<void(TObject* Sender, TParsedType ParsedType, TObject* Construct, const IInterface& ConstructIntf)>;
using TParseFactEvent = std::function<void(TObject* Sender, const IFact& Fact)>;
using TParseFactSetEvent = std::function<void(TObject* Sender, TFactSet* FactSet)>;
using TParseFactTemplateEvent = std::function<void(TObject* Sender, const IFactTemplate& Template)>;
using TParseFunCallEvent = std::function<void(TObject* Sender, const IFunCall& FunCall)>;
using TParseFunctionEvent = std::function<void(TObject* Sender, const IUserFunction& Function)>;
using TParseVariableEvent = std::function<void(TObject* Sender, const std::string& Name, const IKBValue& Value)>;
using TParsePatternEvent = std::function<void(TObject* Sender, TKBPattern* Pattern)>;
using TParseRuleEvent = std::function<void(TObject* Sender, TRule* Rule)>;
using TParseDefinedTypeEvent = std::function<void(TObject* Sender, const IKBDefinedType& DefinedType)>;
using TParseFuzzySetEvent = std::function<void(TObject* Sender, const IFuzzySet& FuzzySet)>;
using TParseFuzzyVariableEvent = std::function<void(TObject* Sender, const IFuzzyVariable& FuzzyVariable)>;
using TParseSingletonsEvent = std::function<void(TObject* Sender, const ISingletonsVector& Singletons)>;
using TParseModuleEvent = std::function<void(TObject* Sender, const IModule& Module)>;

// ---------------------------------------------------------------- TKBParser

// The abstract parser of the rule language: the operations any parser of it
// offers, its switches and its events. It keeps no parse state between calls;
// all position lies in the token stream, which is lent to it for one
// operation at a time and never owned.
class TKBParser : public TPersistent {
public:
  // AOwner is the engine.
  TKBParser(TComponent* AOwner, TGTextStream* AStream);
  TKBParser(const TKBParser&) = delete;
  TKBParser& operator=(const TKBParser&) = delete;

  // Copies the stream and the switches, not the events.
  void Assign(TPersistent* Source) override;
  TComponent* GetOwner() const noexcept { return FOwner; }
  TGTextStream* GetStream() const noexcept { return FStream; }
  virtual void SetStream(TGTextStream* Value);
  // Drops every handler, so that none hears a teardown.
  void ClearEvents();

  // Drops what the token stream has read ahead.
  virtual void Clear() = 0;
  // The kind whose construct keyword is Name, exactly; ptNone when none is.
  virtual TParsedType FindConstructType(const std::string& Name);
  virtual std::string GenerateSymbol(const std::string& Prefix) = 0;
  // A fresh dtVariable value for code that writes patterns: Prefix (the
  // template's name when not given) and the slot's name, numbered while the
  // name is in Used when Unique.
  virtual IKBValue GenerateVariable(const TStrings* Used, const IFactTemplate& Template, const std::string& SlotName,
                                    bool Unique) = 0;
  virtual IKBValue GenerateVariable(const TStrings* Used, const IFactTemplate& Template, const std::string& Prefix,
                                    const std::string& SlotName, bool Unique) = 0;
  // "(name arguments)", the syntax line of a function.
  virtual std::string GetSyntaxStatement(const IUserFunction& Function) = 0;
  // The kind of the next construct, which stays unread.
  virtual TParsedType GetConstructType() = 0;
  // The construct keyword of a kind; empty for the kinds without one.
  virtual std::string GetConstructName(TParsedType ParsedType) = 0;
  // The help of a construct, every line a ";; " comment: its keyword, what
  // it is for and its syntax. Empty for the kinds without a keyword.
  virtual std::string PrettyPrint(TParsedType ParsedType);
  // The writer: each construct as the reader takes it, by the printers of
  // the layers below. Rules, templates, types and fact sets name their
  // module when PrintModuleQualifiers is set.
  virtual std::string PrettyPrint(const TFactSet& FactSet);
  virtual std::string PrettyPrint(const IFact& Fact);
  virtual std::string PrettyPrint(const IFact& Fact, const std::string& SlotName);
  virtual std::string PrettyPrint(const IFact& Fact, const std::string& SlotName, const IKBValue& Value);
  virtual std::string PrettyPrint(const IFact& Fact, const std::string& SlotName, const std::string& Text);
  virtual std::string PrettyPrint(const IFactSlot& Slot);
  virtual std::string PrettyPrint(const IFactTemplate& Template);
  // The modify form for "modify" and "duplicate".
  virtual std::string PrettyPrint(const IFunCall& FunCall);
  virtual std::string PrettyPrint(const IFuzzySet& FuzzySet, bool AsDefinition);
  virtual std::string PrettyPrint(const IFuzzyVariable& Variable);
  virtual std::string PrettyPrint(const IModule& Module);
  virtual std::string PrettyPrint(const TRule& Rule);
  virtual std::string PrettyPrint(const TRule& Rule, TRuleConstruct Construct);
  virtual std::string PrettyPrint(const TKBPattern& Pattern);
  // One global, "?name = value".
  virtual std::string PrettyPrint(const std::string& Name, const IKBValue& Value);
  virtual std::string PrettyPrint(const ISingletonsVector& Singletons);
  // A deffunction's text, or a built-in function's description.
  virtual std::string PrettyPrint(const IUserFunction& Function);
  virtual std::string PrettyPrint(const IKBDefinedType& DefinedType);

  // The whole stream, constructs registered with the engine as they close.
  virtual bool Parse(bool Execute) = 0;
  // One top-level construct; False at the end of the stream.
  virtual bool ParseExpression(bool Execute) = 0;
  // A facts file: each fact is asserted.
  virtual bool LoadFacts() = 0;

  // The grammar. Objects that are not counted are the caller's.
  virtual IKBDefinedType ParseDefinedType() = 0;
  virtual std::unique_ptr<TFactSet> ParseFactSet() = 0;
  virtual IFact ParseFact() = 0;
  // The slot's name; the value goes into Fact.
  virtual std::string ParseFactSlot(const IFact& Fact) = 0;
  virtual IFactTemplate ParseFactTemplate() = 0;
  virtual IFactSlot ParseFactTemplateSlot() = 0;
  virtual IUserFunction ParseFunction() = 0;
  virtual IFunCall ParseFunCall() = 0;
  virtual IFuzzySet ParseFuzzySet(const IFuzzyVariable& Variable) = 0;
  virtual IFuzzyVariable ParseFuzzyVariable() = 0;
  // The bare name; Module gets the qualifier, empty without one.
  virtual std::string ParseFullName(std::string& Module) = 0;
  // The initial value of a global; Name gets its name with the asterisks.
  virtual IKBValue ParseVariable(std::string& Name) = 0;
  virtual bool ParseGlobalVariables() = 0;
  virtual IValueVector ParseList() = 0;
  // The result of the call read.
  virtual IKBValue ParseNExecuteFunCall() = 0;
  virtual IModule ParseModule() = 0;
  virtual std::unique_ptr<TKBPattern> ParsePattern(std::int32_t NegatedCount, TRuleVariables& Variables) = 0;
  virtual std::unique_ptr<TRule> ParseRule() = 0;
  virtual void ParseRuleActions(TRule* Rule, TRuleVariables& Variables) = 0;
  virtual void ParseRulePatterns(TRule* Rule, TRuleVariables& Variables) = 0;
  virtual ISingletonsVector ParseSingletons() = 0;
  virtual IValueVector ParseValuePair() = 0;
  virtual IKBValue ParseValue() = 0;
  virtual IKBValue ParseValue(const IFactSlot& Slot) = 0;
  virtual IKBValue ParseValue(TKBTypes Types, const IKBDefinedType& DefinedType) = 0;

  // ------------------------------------------------------------ switches
  // A fact of an unknown template is an error instead of making the template.
  bool GetExplicitCreateTemplates() const noexcept { return FExplicitCreateTemplates; }
  void SetExplicitCreateTemplates(bool Value) noexcept { FExplicitCreateTemplates = Value; }
  // Values are checked against slot types and defined types while parsing.
  bool GetTypeCheck() const noexcept { return FTypeCheck; }
  void SetTypeCheck(bool Value) noexcept { FTypeCheck = Value; }
  TErrorHandling GetErrorHandling() const noexcept { return FErrorHandling; }
  void SetErrorHandling(TErrorHandling Value) noexcept { FErrorHandling = Value; }
  // The error limit of ehRaiseAllAtEnd: the parse ends at error MaxErrors + 1.
  std::int32_t GetMaxErrors() const noexcept { return FMaxErrors; }
  void SetMaxErrors(std::int32_t Value) noexcept { FMaxErrors = Value; }
  // A construct whose name is taken is renamed instead of replacing.
  bool GetAutoRenameCopy() const noexcept { return FAutoRenameCopy; }
  void SetAutoRenameCopy(bool Value) noexcept { FAutoRenameCopy = Value; }
  // A module prefix on a construct's name is dropped; it goes to the current module.
  bool GetIgnoreModuleQualifier() const noexcept { return FIgnoreModuleQualifier; }
  void SetIgnoreModuleQualifier(bool Value) noexcept { FIgnoreModuleQualifier = Value; }
  bool GetPrintModuleQualifiers() const noexcept { return FPrintModuleQualifiers; }
  void SetPrintModuleQualifiers(bool Value) noexcept { FPrintModuleQualifiers = Value; }
  // Each top-level construct's name and each call's result are printed to
  // standard output as the parse goes. A host running files quietly turns it
  // off and listens to OnParse when it wants some of it.
  bool GetEcho() const noexcept { return FEcho; }
  void SetEcho(bool Value) noexcept { FEcho = Value; }

  // ------------------------------------------------------------ events
  TParseEvent OnParse;
  TParseFactEvent OnParseFact;
  TParseFactSetEvent OnParseFactSet;
  TParseFactTemplateEvent OnParseFactTemplate;
  TParseFunCallEvent OnParseFunCall;
  TParseFunctionEvent OnParseFunction;
  TParseVariableEvent OnParseVariable;
  TParsePatternEvent OnParsePattern;
  TParseRuleEvent OnParseRule;
  TParseDefinedTypeEvent OnParseDefinedType;
  TParseFuzzySetEvent OnParseFuzzySet;
  TParseFuzzyVariableEvent OnParseFuzzyVariable;
  TParseSingletonsEvent OnParseSingletons;
  TParseModuleEvent OnParseModule;

protected:
  TComponent* FOwner;
  TGTextStream* FStream;

private:
  bool FExplicitCreateTemplates = false;
  bool FTypeCheck = true;
  TErrorHandling FErrorHandling = ehRaiseImmediate;
  std::int32_t FMaxErrors = 10;
  bool FAutoRenameCopy = false;
  bool FIgnoreModuleQualifier = false;
  bool FPrintModuleQualifiers = true;
  bool FEcho = true;
};

// ---------------------------------------------------------------- class references

// What the engine makes its parser and its tokenizers from: a class with its
// constructors, compared by class. Of<T>() gives the reference of a class.
struct TKBParserClass {
  using TCreate = std::function<TKBParser*(TComponent* AOwner, TGTextStream* AStream)>;

  TClass ClassType = nullptr;
  TCreate Create;

  template <class T>
  static TKBParserClass Of() {
    return {ClassOf<T>(),
            [](TComponent* AOwner, TGTextStream* AStream) -> TKBParser* { return new T(AOwner, AStream); }};
  }
  explicit operator bool() const noexcept { return ClassType != nullptr && static_cast<bool>(Create); }
  friend bool operator==(const TKBParserClass& A, const TKBParserClass& B) noexcept {
    return A.ClassType == B.ClassType;
  }
};

struct TKBTokenizerClass {
  using TCreateOnStream = std::function<TGTextStream*(TStream* AStream, TEncoding* AEncoding)>;
  using TCreateOnFile = std::function<TGTextStream*(const std::string& FileName, std::uint16_t Mode)>;

  TClass ClassType = nullptr;
  TCreateOnStream CreateOnStream;
  TCreateOnFile CreateOnFile;

  // T is made on a borrowed stream, or on a file stream that it owns.
  template <class T>
  static TKBTokenizerClass Of() {
    return {ClassOf<T>(),
            [](TStream* AStream, TEncoding* AEncoding) -> TGTextStream* { return new T(AStream, AEncoding); },
            [](const std::string& FileName, std::uint16_t Mode) -> TGTextStream* {
              auto File = std::make_unique<TFileStream>(FileName, Mode);
              TGTextStream* Result = new T(File.get(), nullptr, true);
              File.release();
              return Result;
            }};
  }
  explicit operator bool() const noexcept {
    return ClassType != nullptr && static_cast<bool>(CreateOnStream) && static_cast<bool>(CreateOnFile);
  }
  friend bool operator==(const TKBTokenizerClass& A, const TKBTokenizerClass& B) noexcept {
    return A.ClassType == B.ClassType;
  }
};

}  // namespace cogent
