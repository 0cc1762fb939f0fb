// The standard package and its control forms. Arguments arrive as written;
// each form resolves only what it needs, so short circuits, branches and
// loops are plain functions.

#include "cogent/functions/StandardPackage.h"

#include <functional>

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TStandardPackage, TUserPackage>();
  RegisterClass<TAndFunction, TKBUserFunction>();
  RegisterClass<TOrFunction, TKBUserFunction>();
  RegisterClass<TNotFunction, TKBUserFunction>();
  RegisterClass<TEqFunction, TKBUserFunction>();
  RegisterClass<TEqStarFunction, TKBUserFunction>();
  RegisterClass<TNeqFunction, TKBUserFunction>();
  RegisterClass<TEqualsFunction, TKBUserFunction>();
  RegisterClass<TNotEqualsFunction, TKBUserFunction>();
  RegisterClass<TLtFunction, TKBUserFunction>();
  RegisterClass<TLtOrEqFunction, TKBUserFunction>();
  RegisterClass<TGtFunction, TKBUserFunction>();
  RegisterClass<TGtOrEqFunction, TKBUserFunction>();
  RegisterClass<TIfFunction, TKBUserFunction>();
  RegisterClass<TWhileFunction, TKBUserFunction>();
  RegisterClass<TForEachFunction, TKBUserFunction>();
  RegisterClass<TTryFunction, TKBUserFunction>();
  RegisterClass<TThrowFunction, TKBUserFunction>();
  RegisterClass<TReturnFunction, TKBUserFunction>();
  RegisterClass<TBindFunction, TKBUserFunction>();
  RegisterClass<TExtractGlobalFunction, TKBUserFunction>();
  RegisterClass<THaltFunction, TKBUserFunction>();
  RegisterClass<TExitFunction, TKBUserFunction>();
  return true;
}();

// Each later argument against the first, which is resolved once; a later
// one is resolved only when the answer still depends on it.
template <class Same>
bool AllAgainstFirst(const IFunCall& FunCall, TKBContext* Context, Same&& Test) {
  const IKBValue First = Evaluate(FunCall, 0, Context);
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I)
    if (!Test(First, Evaluate(FunCall, I, Context))) return false;
  return true;
}

// Each argument against the one before it, as numbers.
template <class Order>
bool Chain(const IFunCall& FunCall, TKBContext* Context, Order&& InOrder) {
  double Previous = NumberOf(FunCall, 0, Context);
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I) {
    const double Next = NumberOf(FunCall, I, Context);
    if (!InOrder(Previous, Next)) return false;
    Previous = Next;
  }
  return true;
}

// The first argument from From on that is Keyword as written, or -1.
int FindKeyword(const IFunCall& FunCall, int From, std::initializer_list<const IKBValue*> Keywords) {
  for (int I = From; I < FunCall->GetArgumentCount(); ++I) {
    const IKBValue Argument = FunCall->GetArgument(I);
    if (!Argument || Argument->GetDType() != dtAtom) continue;
    for (const IKBValue* Keyword : Keywords)
      if (Argument->Equals(*Keyword)) return I;
  }
  return -1;
}

}  // namespace

// ---------------------------------------------------------------- the package

TStandardPackage::TStandardPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) {
  Construct();
}

TStandardPackage::~TStandardPackage() { Destroying(); }

void TStandardPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFunction<TAndFunction>();
  AddFunction<TOrFunction>();
  AddFunction<TNotFunction>();
  AddFunction<TEqFunction>();
  AddFunction<TEqStarFunction>();
  AddFunction<TNeqFunction>();
  AddFunction<TEqualsFunction>();
  AddFunction<TNotEqualsFunction>();
  AddFunction<TLtFunction>();
  AddFunction<TLtOrEqFunction>();
  AddFunction<TGtFunction>();
  AddFunction<TGtOrEqFunction>();
  AddFunction<TIfFunction>();
  AddFunction<TWhileFunction>();
  AddFunction<TForEachFunction>();
  AddFunction<TTryFunction>();
  AddFunction<TThrowFunction>();
  AddFunction<TReturnFunction>();
  AddFunction<TBindFunction>();
  AddFunction<TExtractGlobalFunction>();
  AddFunction<THaltFunction>();
  AddFunction<TExitFunction>();

  AddFunction<TAssertFunction>();
  AddFunction<TAssertStringFunction>();
  AddFunction<TRetractFunction>();
  AddFunction<TRetractStringFunction>();
  AddFunction<TModifyFunction>();
  AddFunction<TDuplicateFunction>();
  AddFunction<TGetSlotValueFunction>();
  AddFunction<TRunFunction>();
  AddFunction<TResetFunction>();
  AddFunction<TClearFunction>();
  AddFunction<TLoadFunction>();
  AddFunction<TSaveFunction>();
  AddFunction<TLoadFactsFunction>();
  AddFunction<TSaveFactsFunction>();
  AddFunction<TBatchFunction>();
  for (const char* Name : {"focus", "clear-focus-stack", "get-focus", "get-focus-stack", "pop-focus"})
    AddFunction<TFocusModuleFunction>(TKBName(Name));
  for (const char* Name : {"get-current-module", "set-current-module"})
    AddFunction<TCurrentModuleFunction>(TKBName(Name));
  AddFunction<TWatchFunction>();
  AddFunction<TUnwatchFunction>();
  AddFunction<TGetFactDuplicationFunction>();
  AddFunction<TSetFactDuplicationFunction>();
  AddFunction<TStoreFunction>();
  AddFunction<TFetchFunction>();
  AddFunction<TClearStorageFunction>();
  AddFunction<TDoBackwardChainingFunction>();
  AddFunction<TVersionFunction>();

  AddFunction<TCreateMFFunction>();
  AddFunction<TDeleteMFFunction>();
  AddFunction<TExplodeMFFunction>();
  AddFunction<TFirstMFFunction>();
  AddFunction<TImplodeMFFunction>();
  AddFunction<TInsertMFFunction>();
  AddFunction<TLengthMFFunction>();
  AddFunction<TMemberFunction>();
  AddFunction<TMemberMFFunction>();
  AddFunction<TNthMFFunction>();
  AddFunction<TReplaceMFFunction>();
  AddFunction<TRestMFFunction>();
  AddFunction<TSubSeqMFFunction>();
  AddFunction<TSubSetpMFFunction>();

  AddFunction<TOpenFunction>();
  AddFunction<TCloseFunction>();
  AddFunction<TReadFunction>();
  AddFunction<TReadLineFunction>();
  AddFunction<TPrintOutFunction>();
  AddFunction<TFormatFunction>();
  AddFunction<TDribbleOnFunction>();
  AddFunction<TDribbleOffFunction>();
  AddFunction<TRemoveFunction>();
  AddFunction<TRenameFunction>();
  AddFunction<TStrFormatFunction>();

  for (const char* Name : {"get-home-path", "get-documents-path", "get-temp-path"})
    AddFunction<TPathFunction>(TKBName(Name));
  for (const char* Name : {"get-os-name", "get-os-architecture", "get-os-platform", "get-os-build-version",
                           "get-os-major-version", "get-os-minor-version"})
    AddFunction<TOSVersionFunction>(TKBName(Name));
  for (const char* Name : {"is-file-exists", "copy-file", "delete-file", "move-file", "rename-file", "get-file-ext",
                           "get-filename", "get-file-path", "change-file-ext", "change-file-path"})
    AddFunction<TFileFunction>(TKBName(Name));
  for (const char* Name : {"get-current-dir", "set-current-dir", "get-files", "get-dirs", "get-parent-dir",
                           "get-root-dir", "is-dir-empty", "is-dir-exists", "create-dir", "copy-dir", "move-dir",
                           "delete-dir", "dir-delim"})
    AddFunction<TDirectoryFunction>(TKBName(Name));
}

// ---------------------------------------------------------------- logic

void TAndFunction::InitMetaData() {
  Describe("and", "Returns TRUE if no argument is FALSE; stops at the first FALSE", " <expression>*", 0);
}

void TAndFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I)
    if (IsFalse(Evaluate(FunCall, I, Context))) {
      Result = FCFalse;
      return;
    }
  Result = FCTrue;
}

void TOrFunction::InitMetaData() {
  Describe("or", "Returns TRUE at the first argument that is TRUE, otherwise FALSE", " <expression>*", 0);
}

void TOrFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I)
    if (Evaluate(FunCall, I, Context)->Equals(FCTrue)) {
      Result = FCTrue;
      return;
    }
  Result = FCFalse;
}

void TNotFunction::InitMetaData() {
  Describe("not", "Returns TRUE if the argument is FALSE, otherwise FALSE", " <expression>", 1, 1);
}

void TNotFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(IsFalse(Evaluate(FunCall, 0, Context)));
}

// ---------------------------------------------------------------- comparison

void TEqFunction::InitMetaData() {
  Describe("eq", "Returns TRUE if every later argument is equal to the first in type and value",
           " <expression> <expression>+", 1);
}

void TEqFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(AllAgainstFirst(FunCall, Context, [](const IKBValue& A, const IKBValue& B) { return A->Equals(B); }));
}

void TEqStarFunction::InitMetaData() {
  Describe("eq*", "Returns TRUE if every later argument is equal in value to the first, read as the first's type",
           " <expression> <expression>+", 1);
}

void TEqStarFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(
      AllAgainstFirst(FunCall, Context, [](const IKBValue& A, const IKBValue& B) { return A->EqualsStar(B); }));
}

void TNeqFunction::InitMetaData() {
  Describe("neq", "Returns TRUE if no later argument is equal to the first in type and value",
           " <expression> <expression>*", 1);
}

void TNeqFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result =
      Truth(AllAgainstFirst(FunCall, Context, [](const IKBValue& A, const IKBValue& B) { return !A->Equals(B); }));
}

void TEqualsFunction::InitMetaData() {
  Describe("=", "Returns TRUE if every later argument is numerically equal to the first",
           " <numeric-expression> <numeric-expression>+", 1);
}

void TEqualsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(AllAgainstFirst(FunCall, Context, [](const IKBValue& A, const IKBValue& B) {
    return A->GetAsNumeric() == B->GetAsNumeric();
  }));
}

void TNotEqualsFunction::InitMetaData() {
  Describe("<>", "Returns TRUE if no later argument is numerically equal to the first",
           " <numeric-expression> <numeric-expression>*", 1);
}

void TNotEqualsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(AllAgainstFirst(FunCall, Context, [](const IKBValue& A, const IKBValue& B) {
    return A->GetAsNumeric() != B->GetAsNumeric();
  }));
}

void TLtFunction::InitMetaData() {
  Describe("<", "Returns TRUE if each argument is less than the one after it",
           " <numeric-expression> <numeric-expression>+", 2);
}

void TLtFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(Chain(FunCall, Context, std::less<double>()));
}

void TLtOrEqFunction::InitMetaData() {
  Describe("<=", "Returns TRUE if each argument is less than or equal to the one after it",
           " <numeric-expression> <numeric-expression>+", 2);
}

void TLtOrEqFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(Chain(FunCall, Context, std::less_equal<double>()));
}

void TGtFunction::InitMetaData() {
  Describe(">", "Returns TRUE if each argument is greater than the one after it",
           " <numeric-expression> <numeric-expression>+", 2);
}

void TGtFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(Chain(FunCall, Context, std::greater<double>()));
}

void TGtOrEqFunction::InitMetaData() {
  Describe(">=", "Returns TRUE if each argument is greater than or equal to the one after it",
           " <numeric-expression> <numeric-expression>+", 2);
}

void TGtOrEqFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(Chain(FunCall, Context, std::greater_equal<double>()));
}

// ---------------------------------------------------------------- branches and loops

void TIfFunction::InitMetaData() {
  Describe("if",
           "Runs the expressions after then when the condition is not FALSE, otherwise those after else; "
           "returns the value of the last expression run, or FALSE",
           " <predicate-expression> then <expression>+ [else <expression>+]", 2);
}

void TIfFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  if (!IsKeyword(FunCall->GetArgument(1), FCThen)) throw EKBException(Format(_SSyntaxError, _SMissingThen));
  const int Last = FunCall->GetArgumentCount() - 1;
  if (IsFalse(Evaluate(FunCall, 0, Context))) {
    Result = FCFalse;
    // From one past the first expression, so that "then else" is no branch.
    const int Else = FindKeyword(FunCall, 3, {&FCElse});
    if (Else >= 0) RunSequence(FunCall, Else + 1, Last, Context, Result);
    return;
  }
  Result = FCFalse;
  // Else is known by its value, after it has been evaluated.
  for (int I = 2; I <= Last; ++I) {
    IKBValue Value = ResolveArgument(FunCall, I, Context);
    if (IsKeyword(Value, FCElse)) return;
    if (IsReturning(Context)) {
      Result = Context->GetReturnValue();
      return;
    }
    Result = Value;
  }
}

void TWhileFunction::InitMetaData() {
  Describe("while", "Runs the expressions for as long as the condition is not FALSE; returns FALSE",
           " <boolean-expression> [do] <expression>*", 2);
}

void TWhileFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const int First = IsKeyword(FunCall->GetArgument(1), FCDo) ? 2 : 1;
  const int Last = FunCall->GetArgumentCount() - 1;
  Result = Evaluate(FunCall, 0, Context);
  while (!IsFalse(Result)) {
    if (RunSequence(FunCall, First, Last, Context, Result)) return;
    Result = Evaluate(FunCall, 0, Context);
  }
}

void TForEachFunction::InitMetaData() {
  Describe("foreach",
           "Binds the variable to each item of the list in turn and runs the expressions; returns the value of "
           "the last expression run, or nil",
           " <variable-name> <list-expression> <expression>*", 2);
}

void TForEachFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const std::string Name = TextOf(FunCall, 0, Context);
  const IValueVector List = Evaluate(FunCall, 1, Context)->GetAsList();
  TKBContext& Variables = ContextOf(Context);
  Result = FCNil;
  const int Last = FunCall->GetArgumentCount() - 1;
  // A copy: the body may change the list it walks.
  const std::vector<IKBValue> Items = List ? std::vector<IKBValue>(List->begin(), List->end()) : std::vector<IKBValue>();
  for (const IKBValue& Item : Items) {
    Variables.SetVariable(Name, Item ? Item->Resolve(Context) : Item);
    if (RunSequence(FunCall, 2, Last, Context, Result)) return;
  }
}

// ---------------------------------------------------------------- exceptions

void TTryFunction::InitMetaData() {
  Describe("try",
           "Runs the body; the finally expressions run however the body ends, and the catch expressions run "
           "when it raised an error, whose message is ?__ERROR",
           " [<expression>*] [finally [<expression>*>] [catch|except [<expression>*]]", 1);
}

void TTryFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const int Finally = FindKeyword(FunCall, 0, {&FCFinally});
  const int Catch = FindKeyword(FunCall, Finally + 1, {&FCCatch, &FCExcept});
  if (Finally < 0 && Catch < 0) throw EKBException(_SMissingCatchStatement);
  const int Last = FunCall->GetArgumentCount() - 1;
  const int BodyEnd = (Finally >= 0 ? Finally : Catch) - 1;
  const int FinallyEnd = Catch >= 0 ? Catch - 1 : Last;

  std::string Message;
  try {
    try {
      RunSequence(FunCall, 0, BodyEnd, Context, Result);
    } catch (...) {
      if (Finally >= 0) RunSequence(FunCall, Finally + 1, FinallyEnd, Context, Result);
      throw;
    }
    if (Finally >= 0) RunSequence(FunCall, Finally + 1, FinallyEnd, Context, Result);
    return;
  } catch (const EAbort&) {
    throw;
  } catch (const std::exception& E) {
    Message = E.what();
  }
  Result = FCFalse;
  ContextOf(Context).SetVariable("__ERROR", IKBValue(new TKBValue(Message, dtString)));
  if (Catch >= 0) RunSequence(FunCall, Catch + 1, Last, Context, Result);
}

void TThrowFunction::InitMetaData() {
  Describe("throw", "Raises an error with the text as its message", " <lexeme-expression>", 1, 1);
}

void TThrowFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  throw Exception(TextOf(FunCall, 0, Context));
}

void TReturnFunction::InitMetaData() {
  Describe("return",
           "Ends the running deffunction or rule; the expression, evaluated where the function ends, is its "
           "value. Without one a rule also pops the focus",
           " [<expression>]", 0, 1);
}

void TReturnFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  // Left unevaluated: the deffunction that ends evaluates it in its own
  // context.
  Result = FunCall->GetArgumentCount() == 0 ? FCPopFocus : FunCall->GetArgument(0);
  ContextOf(Context).SetReturnValue(Result);
}

// ---------------------------------------------------------------- variables and the engine

void TBindFunction::InitMetaData() {
  Describe("bind", "Binds the variable to the value of the expression and returns that value",
           " <variable> <expression>", 2, 2);
}

void TBindFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Evaluate(FunCall, 1, Context);
  ContextOf(Context).SetVariable(FunCall->GetArgument(0)->GetAsString(), Result);
}

void TExtractGlobalFunction::InitMetaData() {
  Describe("__get-var", "Returns the value of the variable, or nil for a name that is not bound",
           " <variable-name>", 1, 1);
}

void TExtractGlobalFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  if (IsVariable(FunCall->GetArgument(0))) {
    Result = Evaluate(FunCall, 0, Context);
    return;
  }
  const TBinding* Binding = ContextOf(Context).FindBinding(TextOf(FunCall, 0, Context));
  Result = Binding && Binding->GetValue() ? Binding->GetValue() : FCNil;
}

void THaltFunction::InitMetaData() {
  Describe("halt", "Stops the run before the next rule fires", "", 0, 0);
}

void THaltFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  EngineOf(Context).SetHalt(true);
  Result = FCTrue;
}

void TExitFunction::InitMetaData() {
  Describe("exit", "Stops all work at once: the rule, the run and every function on the way out", "", 0, 0);
}

void TExitFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  // The silent exception: it leaves the run and reaches the host, which goes
  // on as it sees fit. A library does not end the process.
  throw EAbort("exit");
}

}  // namespace cogent
