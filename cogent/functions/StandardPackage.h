#pragma once
// The standard package: the control forms of the rule language, the
// functions through which rules change working memory and steer the engine,
// and those that move text in and out.

#include <cstdint>
#include <string>

#include "cogent/functions/KBHelperFunctions.h"

namespace cogent {

class TStandardPackage : public TUserPackage {
public:
  explicit TStandardPackage(TComponent* AOwner);
  ~TStandardPackage() override;

protected:
  void CreateFunctions() override;
};

// Control forms: each decides what it evaluates and when.
COGENT_BUILT_IN_FUNCTION(TAndFunction)
COGENT_BUILT_IN_FUNCTION(TOrFunction)
COGENT_BUILT_IN_FUNCTION(TNotFunction)
COGENT_BUILT_IN_FUNCTION(TEqFunction)
COGENT_BUILT_IN_FUNCTION(TEqStarFunction)
COGENT_BUILT_IN_FUNCTION(TNeqFunction)
COGENT_BUILT_IN_FUNCTION(TEqualsFunction)
COGENT_BUILT_IN_FUNCTION(TNotEqualsFunction)
COGENT_BUILT_IN_FUNCTION(TLtFunction)
COGENT_BUILT_IN_FUNCTION(TLtOrEqFunction)
COGENT_BUILT_IN_FUNCTION(TGtFunction)
COGENT_BUILT_IN_FUNCTION(TGtOrEqFunction)
COGENT_BUILT_IN_FUNCTION(TIfFunction)
COGENT_BUILT_IN_FUNCTION(TWhileFunction)
COGENT_BUILT_IN_FUNCTION(TForEachFunction)
COGENT_BUILT_IN_FUNCTION(TTryFunction)
COGENT_BUILT_IN_FUNCTION(TThrowFunction)
COGENT_BUILT_IN_FUNCTION(TReturnFunction)
COGENT_BUILT_IN_FUNCTION(TBindFunction)
COGENT_BUILT_IN_FUNCTION(TExtractGlobalFunction)
COGENT_BUILT_IN_FUNCTION(THaltFunction)
COGENT_BUILT_IN_FUNCTION(TExitFunction)

// Working memory and the engine.
COGENT_BUILT_IN_FUNCTION(TAssertFunction)
COGENT_BUILT_IN_FUNCTION(TAssertStringFunction)
COGENT_BUILT_IN_FUNCTION(TRetractFunction)
COGENT_BUILT_IN_FUNCTION(TRetractStringFunction)
COGENT_BUILT_IN_FUNCTION(TModifyFunction)
COGENT_BUILT_IN_FUNCTION(TDuplicateFunction)
COGENT_BUILT_IN_FUNCTION(TGetSlotValueFunction)
COGENT_BUILT_IN_FUNCTION(TRunFunction)
COGENT_BUILT_IN_FUNCTION(TResetFunction)
COGENT_BUILT_IN_FUNCTION(TClearFunction)
COGENT_BUILT_IN_FUNCTION(TLoadFunction)
COGENT_BUILT_IN_FUNCTION(TSaveFunction)
COGENT_BUILT_IN_FUNCTION(TLoadFactsFunction)
COGENT_BUILT_IN_FUNCTION(TSaveFactsFunction)
COGENT_BUILT_IN_FUNCTION(TBatchFunction)
COGENT_BUILT_IN_FUNCTION(TWatchFunction)
COGENT_BUILT_IN_FUNCTION(TUnwatchFunction)
COGENT_BUILT_IN_FUNCTION(TGetFactDuplicationFunction)
COGENT_BUILT_IN_FUNCTION(TSetFactDuplicationFunction)
COGENT_BUILT_IN_FUNCTION(TStoreFunction)
COGENT_BUILT_IN_FUNCTION(TFetchFunction)
COGENT_BUILT_IN_FUNCTION(TClearStorageFunction)
COGENT_BUILT_IN_FUNCTION(TDoBackwardChainingFunction)
COGENT_BUILT_IN_FUNCTION(TVersionFunction)

// Text in and out through logical names, and files.
COGENT_BUILT_IN_FUNCTION(TOpenFunction)
COGENT_BUILT_IN_FUNCTION(TCloseFunction)
COGENT_BUILT_IN_FUNCTION(TReadFunction)
COGENT_BUILT_IN_FUNCTION(TReadLineFunction)
COGENT_BUILT_IN_FUNCTION(TPrintOutFunction)
COGENT_BUILT_IN_FUNCTION(TFormatFunction)
COGENT_BUILT_IN_FUNCTION(TDribbleOnFunction)
COGENT_BUILT_IN_FUNCTION(TDribbleOffFunction)
COGENT_BUILT_IN_FUNCTION(TRemoveFunction)
COGENT_BUILT_IN_FUNCTION(TRenameFunction)
// A string function; it moves to the string package when that package comes.
COGENT_BUILT_IN_FUNCTION(TStrFormatFunction)

enum TFocusModuleFunctionType : std::uint8_t {
  fmfFocus,
  fmfClearFocusStack,
  fmfGetFocus,
  fmfGetFocusStack,
  fmfPopFocus
};

// focus, clear-focus-stack, get-focus, get-focus-stack, pop-focus: one class
// whose name decides what it does.
class TFocusModuleFunction : public TBuiltInFunction {
public:
  TFocusModuleFunction() = default;
  explicit TFocusModuleFunction(const TKBName& AName) { SetFunctionName(AName); }

  TFocusModuleFunctionType GetFunctionType() const noexcept { return FFunctionType; }
  // A name of the family also sets the type, comment, arguments and limits.
  void SetFunctionName(const TKBName& Value) override;

protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;

private:
  TFocusModuleFunctionType FFunctionType = fmfFocus;
};

enum TCurrentModuleFunctionType : std::uint8_t { cmfGetCurrentModule, cmfSetCurrentModule };

// get-current-module and set-current-module.
class TCurrentModuleFunction : public TBuiltInFunction {
public:
  TCurrentModuleFunction() = default;
  explicit TCurrentModuleFunction(const TKBName& AName) { SetFunctionName(AName); }

  TCurrentModuleFunctionType GetFunctionType() const noexcept { return FFunctionType; }
  void SetFunctionName(const TKBName& Value) override;

protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;

private:
  TCurrentModuleFunctionType FFunctionType = cmfGetCurrentModule;
};

}  // namespace cogent
