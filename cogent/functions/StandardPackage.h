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
COGENT_NUMERIC_COMPARISON_FUNCTION(TLtFunction, TNumericComparison::ncLess)
COGENT_NUMERIC_COMPARISON_FUNCTION(TLtOrEqFunction, TNumericComparison::ncLessEqual)
COGENT_NUMERIC_COMPARISON_FUNCTION(TGtFunction, TNumericComparison::ncGreater)
COGENT_NUMERIC_COMPARISON_FUNCTION(TGtOrEqFunction, TNumericComparison::ncGreaterEqual)
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

// Lists: each result is a new list whose items are copies, so that no result
// shares a value with its source. Positions count from 0.
COGENT_BUILT_IN_FUNCTION(TCreateMFFunction)
COGENT_BUILT_IN_FUNCTION(TDeleteMFFunction)
COGENT_BUILT_IN_FUNCTION(TExplodeMFFunction)
COGENT_BUILT_IN_FUNCTION(TFirstMFFunction)
COGENT_BUILT_IN_FUNCTION(TImplodeMFFunction)
COGENT_BUILT_IN_FUNCTION(TInsertMFFunction)
COGENT_BUILT_IN_FUNCTION(TLengthMFFunction)
COGENT_BUILT_IN_FUNCTION(TMemberFunction)
COGENT_BUILT_IN_FUNCTION(TMemberMFFunction)
COGENT_BUILT_IN_FUNCTION(TNthMFFunction)
COGENT_BUILT_IN_FUNCTION(TReplaceMFFunction)
COGENT_BUILT_IN_FUNCTION(TRestMFFunction)
COGENT_BUILT_IN_FUNCTION(TSubSeqMFFunction)
COGENT_BUILT_IN_FUNCTION(TSubSetpMFFunction)

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

// The file system and the operating system. Each family is one class whose
// type code, set by the name or by the property, decides what it does.

enum TPathFunctionType : std::uint8_t { pftGetHomePath, pftGetDocumentsPath, pftGetTempPath };

// get-home-path, get-documents-path, get-temp-path.
class TPathFunction : public TBuiltInFunction {
public:
  TPathFunction();
  explicit TPathFunction(const TKBName& AName) { SetFunctionName(AName); }

  TPathFunctionType GetPathFunctionType() const noexcept { return FPathFunctionType; }
  // Also sets the comment, the arguments and the limits of the code.
  void SetPathFunctionType(TPathFunctionType Value);
  // A name of the family also sets the type; another leaves it as it is.
  void SetFunctionName(const TKBName& Value) override;

protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;

private:
  TPathFunctionType FPathFunctionType = pftGetHomePath;
};

enum TOSVersionFunctionType : std::uint8_t {
  osvGetOSName,
  osvGetOSArchitecture,
  osvGetOSPlatform,
  osvGetOSBuildVersion,
  osvGetOSMajorVersion,
  osvGetOSMinorVersion
};

// get-os-name, get-os-architecture, get-os-platform, get-os-build-version,
// get-os-major-version, get-os-minor-version.
class TOSVersionFunction : public TBuiltInFunction {
public:
  TOSVersionFunction();
  explicit TOSVersionFunction(const TKBName& AName) { SetFunctionName(AName); }

  TOSVersionFunctionType GetOSVersionFunctionType() const noexcept { return FOSVersionFunctionType; }
  void SetOSVersionFunctionType(TOSVersionFunctionType Value);
  void SetFunctionName(const TKBName& Value) override;

protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;

private:
  TOSVersionFunctionType FOSVersionFunctionType = osvGetOSName;
};

enum TFileFunctionType : std::uint8_t {
  fftIsFileExists,
  fftCopyFile,
  fftDeleteFile,
  fftMoveFile,
  fftRenameFile,
  fftGetFileExt,
  fftGetFilename,
  fftGetFilePath,
  fftReplaceFileExt,
  fftReplaceFilePath
};

// is-file-exists, copy-file, delete-file, move-file, rename-file,
// get-file-ext, get-filename, get-file-path, change-file-ext,
// change-file-path. What changes files answers FALSE when it fails.
class TFileFunction : public TBuiltInFunction {
public:
  TFileFunction();
  explicit TFileFunction(const TKBName& AName) { SetFunctionName(AName); }

  TFileFunctionType GetFileFunctionType() const noexcept { return FFileFunctionType; }
  void SetFileFunctionType(TFileFunctionType Value);
  void SetFunctionName(const TKBName& Value) override;

protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;

private:
  TFileFunctionType FFileFunctionType = fftIsFileExists;
};

enum TDirectoryFunctionType : std::uint8_t {
  dftGetCurrentDir,
  dftSetCurrentDir,
  dftGetFiles,
  dftGetDirs,
  dftGetParentDir,
  dftGetRootDir,
  dftIsDirEmpty,
  dftIsDirExists,
  dftCreateDir,
  dftCopyDir,
  dftMoveDir,
  dftDeleteDir,
  dftDirDelim
};

// get-current-dir, set-current-dir, get-files, get-dirs, get-parent-dir,
// get-root-dir, is-dir-empty, is-dir-exists, create-dir, copy-dir, move-dir,
// delete-dir, dir-delim. What changes directories answers FALSE when it
// fails.
class TDirectoryFunction : public TBuiltInFunction {
public:
  TDirectoryFunction();
  explicit TDirectoryFunction(const TKBName& AName) { SetFunctionName(AName); }

  TDirectoryFunctionType GetDirectoryFunctionType() const noexcept { return FDirectoryFunctionType; }
  void SetDirectoryFunctionType(TDirectoryFunctionType Value);
  void SetFunctionName(const TKBName& Value) override;

protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;

private:
  TDirectoryFunctionType FDirectoryFunctionType = dftGetCurrentDir;
};

// ================================================================ the miscellaneous package
// The interactive commands: lists and displays of the knowledge base,
// pretty printing, removal of constructs, structure tests, the constraint
// check switches, and dates and times. Lists print on the default channel.

class TMiscPackage : public TUserPackage {
public:
  explicit TMiscPackage(TComponent* AOwner);
  ~TMiscPackage() override;

protected:
  void CreateFunctions() override;
};

// A family of functions in one class: the name sets the type code, comment,
// arguments and limits.
#define COGENT_FUNCTION_FAMILY(Class, Type, Getter)                                     \
  class Class : public TBuiltInFunction {                                                \
  public:                                                                                \
    Class();                                                                             \
    explicit Class(const TKBName& AName) { SetFunctionName(AName); }                     \
    Type Getter() const noexcept { return FFunctionType; }                               \
    void SetFunctionName(const TKBName& Value) override;                                 \
                                                                                         \
  protected:                                                                             \
    void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;  \
                                                                                         \
  private:                                                                               \
    Type FFunctionType{};                                                                \
  };

// Lists of names, each followed by its total.
COGENT_BUILT_IN_FUNCTION(TAgendaFunction)
COGENT_BUILT_IN_FUNCTION(TListRulesFunction)
COGENT_BUILT_IN_FUNCTION(TListDefTypesFunction)
COGENT_BUILT_IN_FUNCTION(TListFactSetsFunction)
COGENT_BUILT_IN_FUNCTION(TListTemplatesFunction)
COGENT_BUILT_IN_FUNCTION(TListFunctionsFunction)
COGENT_BUILT_IN_FUNCTION(TListDefModulesFunction)
COGENT_BUILT_IN_FUNCTION(TListFocusStackFunction)
COGENT_BUILT_IN_FUNCTION(TShowFactsFunction)
COGENT_BUILT_IN_FUNCTION(TShowRulesFunction)

enum TListVariablesFunctionType : std::uint8_t { lvDefGlobals, lvBindings };
// list-defglobals, list-bindings.
COGENT_FUNCTION_FAMILY(TListVariablesFunction, TListVariablesFunctionType, GetListVariablesType)

enum TPrettyPrintFunctionType : std::uint8_t {
  ppfFactSet,
  ppfUserFunction,
  ppfFactTemplate,
  ppfRule,
  ppfDefType,
  ppfDefModule
};
// ppdeffacts, ppdeffunction, ppdeftemplate, ppdefrule, ppdeftype,
// ppdefmodule: the construct's text as an atom; nothing is printed.
COGENT_FUNCTION_FAMILY(TPrettyPrintFunction, TPrettyPrintFunctionType, GetPrettyPrint)

// Removal: TRUE when something was removed.
COGENT_BUILT_IN_FUNCTION(TUnDefRuleFunction)
COGENT_BUILT_IN_FUNCTION(TUnDefFactsFunction)
COGENT_BUILT_IN_FUNCTION(TUnDefFunctionFunction)
COGENT_BUILT_IN_FUNCTION(TUnDefTemplateFunction)
COGENT_BUILT_IN_FUNCTION(TUnDefTypeFunction)

enum TIsKBStructFunctionType : std::uint8_t {
  sfIsBinding,
  sfIsDefType,
  sfIsDefFunction,
  sfIsDefGlobal,
  sfIsDefRule,
  sfIsDefFacts,
  sfIsDefTemplate
};
// is-binding, is-deftype, is-deffunction, is-defglobal, is-defrule,
// is-deffacts, is-deftemplate.
COGENT_FUNCTION_FAMILY(TIsKBStructFunction, TIsKBStructFunctionType, GetIsKBStructFunctionType)

COGENT_BUILT_IN_FUNCTION(TKBParseFunction)
COGENT_BUILT_IN_FUNCTION(TGuardFunction)
COGENT_BUILT_IN_FUNCTION(TGenSymStarFunction)
COGENT_BUILT_IN_FUNCTION(TSetGenFunction)
COGENT_BUILT_IN_FUNCTION(TResetGlobalsFunction)
COGENT_BUILT_IN_FUNCTION(TGetStaticCheckFunction)
COGENT_BUILT_IN_FUNCTION(TGetDynamicCheckFunction)
COGENT_BUILT_IN_FUNCTION(TSetStaticCheckFunction)
COGENT_BUILT_IN_FUNCTION(TSetDynamicCheckFunction)

// Dates and times: a float whose whole part counts days from 30 December
// 1899 and whose fraction is the part of the day.
COGENT_BUILT_IN_FUNCTION(TTimeFunction)

enum TSystemDateTimeFunctionType : std::uint8_t { sdtDateTime, sdtDate, sdtTime };
// system-datetime, system-date, system-time.
COGENT_FUNCTION_FAMILY(TSystemDateTimeFunction, TSystemDateTimeFunctionType, GetSystemDateTimeType)

enum TDateTimeStringFunctionType : std::uint8_t {
  dtsStrDateTime,
  dtsStrDate,
  dtsStrTime,
  dtsDateTimeStr,
  dtsDateStr,
  dtsTimeStr,
  dtsDateTimeStrFormat
};
// str-datetime, str-date, str-time, datetime-str, date-str, time-str,
// datetime-str-format.
COGENT_FUNCTION_FAMILY(TDateTimeStringFunction, TDateTimeStringFunctionType, GetDateTimeStringType)

enum TDecodeDateTimeFunctionType : std::uint8_t {
  ddtYear,
  ddtMonth,
  ddtDay,
  ddtHour,
  ddtMinute,
  ddtSecond,
  ddtMillisecond
};
// decode-year, decode-month, decode-day, decode-hour, decode-minute,
// decode-second, decode-millisecond.
COGENT_FUNCTION_FAMILY(TDecodeDateTimeFunction, TDecodeDateTimeFunctionType, GetDecodeDateTimeType)

enum TEncodeDateTimeFunctionType : std::uint8_t { edtDate, edtTime };
// encode-date, encode-time.
COGENT_FUNCTION_FAMILY(TEncodeDateTimeFunction, TEncodeDateTimeFunctionType, GetEncodeDateTimeType)

}  // namespace cogent
