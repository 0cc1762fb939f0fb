// The standard package's functions on working memory and on the engine:
// each reads its arguments as the rule language writes them and hands the
// work to the engine.

#include "cogent/functions/StandardPackage.h"

#include <array>
#include <utility>

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TAssertFunction, TKBUserFunction>();
  RegisterClass<TAssertStringFunction, TKBUserFunction>();
  RegisterClass<TRetractFunction, TKBUserFunction>();
  RegisterClass<TRetractStringFunction, TKBUserFunction>();
  RegisterClass<TModifyFunction, TKBUserFunction>();
  RegisterClass<TDuplicateFunction, TKBUserFunction>();
  RegisterClass<TGetSlotValueFunction, TKBUserFunction>();
  RegisterClass<TRunFunction, TKBUserFunction>();
  RegisterClass<TResetFunction, TKBUserFunction>();
  RegisterClass<TClearFunction, TKBUserFunction>();
  RegisterClass<TLoadFunction, TKBUserFunction>();
  RegisterClass<TSaveFunction, TKBUserFunction>();
  RegisterClass<TLoadFactsFunction, TKBUserFunction>();
  RegisterClass<TSaveFactsFunction, TKBUserFunction>();
  RegisterClass<TBatchFunction, TKBUserFunction>();
  RegisterClass<TFocusModuleFunction, TKBUserFunction>();
  RegisterClass<TCurrentModuleFunction, TKBUserFunction>();
  RegisterClass<TWatchFunction, TKBUserFunction>();
  RegisterClass<TUnwatchFunction, TKBUserFunction>();
  RegisterClass<TGetFactDuplicationFunction, TKBUserFunction>();
  RegisterClass<TSetFactDuplicationFunction, TKBUserFunction>();
  RegisterClass<TStoreFunction, TKBUserFunction>();
  RegisterClass<TFetchFunction, TKBUserFunction>();
  RegisterClass<TClearStorageFunction, TKBUserFunction>();
  RegisterClass<TDoBackwardChainingFunction, TKBUserFunction>();
  RegisterClass<TVersionFunction, TKBUserFunction>();
  return true;
}();

IKBValue FactIdValue(std::int32_t Id) { return IKBValue(new TKBValue(Id, dtFactId)); }

// The fact of the id that argument 0 gives; raises _SNoSuchFact.
IFact FactOfArgument(const IFunCall& FunCall, TKBContext* Context) {
  const std::int32_t Id = Evaluate(FunCall, 0, Context)->GetAsFactId();
  const IFact Fact = EngineOf(Context).GetFacts()->GetFactByID(Id);
  if (!Fact) throw EKBException(Format(_SNoSuchFact, IntToStr(Id)));
  return Fact;
}

// One "(slot value...)" argument of modify or duplicate written into Fact.
// A multislot written with loose items gets them as a new list.
void ChangeSlot(const IFact& Fact, const IKBValue& Pair, TKBContext* Context) {
  const IValueVector Items = Pair->GetAsList();
  const std::string Name = Items->Get(0)->GetAsString();
  const IFactSlot Slot = Fact->GetTemplate()->GetSlot(Name);
  const int Count = Items->GetCount();
  if (Slot->IsMultiSlot() && (Count < 2 || Items->Get(1)->GetDType() != dtList)) {
    IValueVector List(new TValueVector());
    for (int I = 1; I < Count; ++I) List->Add(Items->Get(I)->Resolve(Context));
    // A new value rather than the old one changed in place: the old one may
    // be shared with another fact or be a constant.
    Fact->SetValue(Name, IKBValue(new TKBValue(List)));
    return;
  }
  Fact->SetValue(Name, Count < 2 ? FCNil : Items->Get(1)->Resolve(Context));
}

const std::array<std::pair<const char*, TConstructWatches>, 7> WatchWords{{
    {"activations", TConstructWatches{cwActivation}},
    {"facts", TConstructWatches{cwFact}},
    {"rules", TConstructWatches{cwRule}},
    {"compilations", TConstructWatches{cwCompilation}},
    {"statistics", TConstructWatches{cwStatistics}},
    {"focus", TConstructWatches{cwFocus}},
    {"all", KBAllWatches},
}};

// The watches a word stands for; false for a word that is none of them.
bool WatchesOf(const std::string& Word, TConstructWatches& Watches) {
  for (const auto& [Name, Set] : WatchWords)
    if (Word == Name) {
      Watches = Set;
      return true;
    }
  return false;
}

}  // namespace

// ---------------------------------------------------------------- assertion

namespace {

void AssertFacts(const IFunCall& FunCall, TKBContext* Context, IKBValue* Result) {
  TInferenceEngine& Engine = EngineOf(Context);
  std::int32_t Id = -1;
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) {
    // The written fact stays a pattern for the next firing.
    IKBValue Keep;
    const IFact Fact = PeekEvaluated(FunCall, I, Context, Keep).GetAsFact();
    Id = Engine.Assert(ContextOf(Context).ResolveClone(Fact), false);
  }
  // A rule's action drops the id: no value is made for it.
  if (Result) *Result = Id == -1 ? FCFalse : FactIdValue(Id);
}

}  // namespace

void TAssertFunction::InitMetaData() {
  Describe("assert", "Asserts each fact and returns the id of the last, or FALSE", " <fact>*", 0);
  SetDirectEntry<TAssertFunction>(&AssertFacts);
}

void TAssertFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  AssertFacts(FunCall, Context, &Result);
}

void TAssertStringFunction::InitMetaData() {
  Describe("assert-string", "Reads each text as a fact and asserts it; returns the id of the last",
           " <string-expression>*", 1);
}

void TAssertStringFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  std::int32_t Id = -1;
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) Id = Engine.Assert(TextOf(FunCall, I, Context));
  Result = FactIdValue(Id);
}

void TRetractFunction::InitMetaData() {
  Describe("retract", "Retracts the facts of the ids, or with * every fact of the current module", " *|<fact-index>*",
           1);
}

void TRetractFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const IKBValue First = Evaluate(FunCall, 0, Context);
  if (First->GetDType() == dtAtom && First->GetAsString() == "*") {
    Engine.GetFacts()->Clear();
    Result = FCTrue;
    return;
  }
  // The first argument is read anew with the others.
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) {
    const std::int32_t Id = Evaluate(FunCall, I, Context)->GetAsFactId();
    const IFact Fact = Engine.GetFacts()->GetFactByID(Id);
    if (!Fact) throw EKBException(Format(_SUnableFindFact, Id));
    Engine.RetractFact(Fact);
  }
  Result = FCTrue;
}

void TRetractStringFunction::InitMetaData() {
  Describe("retract-string", "Reads each text as a fact and retracts the fact equal to it", " <fact-string>", 0);
}

void TRetractStringFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) Engine.Retract(TextOf(FunCall, I, Context));
  Result = FCTrue;
}

void TModifyFunction::InitMetaData() {
  Describe("modify", "Changes slots of the fact, which is retracted and asserted again; returns its new id",
           " <fact-index> (<slot-name> <expression>)+", 1);
}

void TModifyFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const IFact Fact = FactOfArgument(FunCall, Context);
  Engine.BeginFactModify(Fact);
  try {
    for (int I = 1; I < FunCall->GetArgumentCount(); ++I) ChangeSlot(Fact, Evaluate(FunCall, I, Context), Context);
    ContextOf(Context).Resolve(Fact);
  } catch (...) {
    // The fact comes back with what was changed before the error.
    Engine.EndFactModify(Fact);
    throw;
  }
  Result = FactIdValue(Engine.EndFactModify(Fact));
}

void TDuplicateFunction::InitMetaData() {
  Describe("duplicate", "Asserts a copy of the fact with slots changed; returns the copy's id",
           " <fact-index> (<slot-name> <expression>)*", 2);
}

void TDuplicateFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const IFact Copy = FactOfArgument(FunCall, Context)->Clone();
  Copy->SetID(-1);
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I) ChangeSlot(Copy, Evaluate(FunCall, I, Context), Context);
  Result = FactIdValue(Engine.Assert(Copy, false));
}

void TGetSlotValueFunction::InitMetaData() {
  Describe("get-slot-value", "Returns a copy of the value of the slot of the fact, by default its ordered fields",
           " <fact-id-expression>|<fact-expression> [<slot-name-expression> ]", 1, 2);
}

void TGetSlotValueFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IKBValue Source = Evaluate(FunCall, 0, Context);
  IFact Fact;
  switch (Source->GetDType()) {
    case dtInteger:
    case dtFactId:
      Fact = EngineOf(Context).GetFacts()->GetFactByID(Source->GetAsFactId());
      break;
    case dtFact:
      Fact = Source->GetAsFact();
      break;
    default:
      throw EKBException(
          Format(_SInvalidArgType, GetKBTypeName(Source->GetDType()), SetToString(TKBTypes{dtFactId, dtFact}, ", ", false)));
  }
  if (!Fact) throw EKBException(Format(_SNoSuchFact, Source->GetToString()));
  const std::string Name =
      FunCall->GetArgumentCount() > 1 ? TextOf(FunCall, 1, Context) : std::string(SDefaultSlotName);
  const IKBValue Value = Fact->GetValue(Name);
  Result = Value ? Value->Clone() : FCNil;
}

// ---------------------------------------------------------------- the engine

void TRunFunction::InitMetaData() {
  Describe("run", "Fires rules until the agenda is empty, the run halts or the limit of steps is reached; "
                  "returns the number of rules fired",
           " [<integer-expression>]", 0, 1);
}

void TRunFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  // The limit as written: a literal, not evaluated. The engine itself
  // refuses a run from inside a rule action.
  const std::int32_t Fired =
      FunCall->GetArgumentCount() == 0 ? Engine.Run() : Engine.Run(FunCall->GetArgument(0)->GetAsInteger());
  Result = IKBValue(new TKBValue(Fired, dtInteger));
}

void TResetFunction::InitMetaData() {
  Describe("reset", "Empties working memory and asserts the fact sets and the initial fact again", "", 0, 0);
}

void TResetFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  EngineOf(Context).Reset();
  Result = FCTrue;
}

void TClearFunction::InitMetaData() {
  Describe("clear", "Takes away all knowledge but the built-in functions and the globals", "", 0, 0);
}

void TClearFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  EngineOf(Context).Clear();
  Result = FCTrue;
}

// ---------------------------------------------------------------- files

void TLoadFunction::InitMetaData() { Describe("load", "Reads the constructs of the file", " <filename>", 1, 1); }

void TLoadFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  EngineOf(Context).LoadFromFile(TextOf(FunCall, 0, Context), TEncoding::Default());
  Result = FCTrue;
}

void TSaveFunction::InitMetaData() { Describe("save", "Writes the constructs to the file", " <filename>", 1, 1); }

void TSaveFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  EngineOf(Context).SaveToFile(TextOf(FunCall, 0, Context), TEncoding::Default());
  Result = FCTrue;
}

void TLoadFactsFunction::InitMetaData() {
  Describe("load-facts", "Asserts the facts of the file", " <filename>", 1, 1);
}

void TLoadFactsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  EngineOf(Context).LoadFacts(TextOf(FunCall, 0, Context), TEncoding::Default());
  Result = FCTrue;
}

void TSaveFactsFunction::InitMetaData() {
  Describe("save-facts", "Writes the facts, or those of the templates named, to the file",
           " <file-name> [<fact-template-name>+]", 1, NoArgumentLimit);
}

void TSaveFactsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string FileName = TextOf(FunCall, 0, Context);
  if (FunCall->GetArgumentCount() == 1) {
    Engine.SaveFacts(FileName, nullptr);
  } else {
    // One file, the templates' facts one after the other.
    std::vector<std::string> TemplateNames;
    for (int I = 1; I < FunCall->GetArgumentCount(); ++I) TemplateNames.push_back(TextOf(FunCall, I, Context));
    Engine.SaveFacts(FileName, TemplateNames, nullptr);
  }
  Result = FCTrue;
}

void TBatchFunction::InitMetaData() { Describe("batch", "Runs the commands of the file", " <filename>", 1, 1); }

void TBatchFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = EngineOf(Context).Batch(TextOf(FunCall, 0, Context), TEncoding::Default()) ? FCTrue : FCFalse;
}

// ---------------------------------------------------------------- focus and modules

namespace {

constexpr TFamilyMember FocusFunctions[] = {
    {"focus", "Pushes the modules on the focus stack, the first on top", "<module-name-expression>+", 1,
     TKBUserFunction::NoArgumentLimit},
    {"clear-focus-stack", "Empties the focus stack, which stops a run", "", 0, 0},
    {"get-focus", "Returns the name of the module on top of the focus stack, or FALSE", "", 0, 0},
    {"get-focus-stack", "Returns the names of the modules on the focus stack, top first", "", 0, 0},
    {"pop-focus", "Takes the module off the top of the focus stack and returns its name, or FALSE", "", 0, 0},
};

constexpr TFamilyMember CurrentModuleFunctions[] = {
    {"get-current-module", "Returns the name of the current module", "", 0, 0},
    {"set-current-module", "Makes the module current and returns its name", "<module-name-expression>", 1, 1},
};

IKBValue ModuleName(const IModule& Module) {
  return Module ? IKBValue(new TKBValue(Module->GetName(), dtAtom)) : FCFalse;
}

}  // namespace

void TFocusModuleFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(FocusFunctions, Value, FFunctionType);
}

void TFocusModuleFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  switch (FFunctionType) {
    case fmfFocus:
      // The last goes first, so that the first ends on top.
      for (int I = FunCall->GetArgumentCount() - 1; I >= 0; --I)
        Engine.PushFocus(TextOf(FunCall, I, Context));
      Result = FCTrue;
      break;
    case fmfClearFocusStack:
      Engine.GetFocusStack()->Clear();
      Engine.SetHalt(true);
      break;
    case fmfGetFocus:
      Result = ModuleName(Engine.PeekFocus());
      break;
    case fmfPopFocus:
      Result = ModuleName(Engine.PopFocus());
      break;
    case fmfGetFocusStack: {
      IValueVector Names(new TValueVector());
      for (const IModule& Module : Engine.GetFocusStack()->Items())
        if (Module) Names->Add(IKBValue(new TKBValue(Module->GetName(), dtAtom)));
      Result = IKBValue(new TKBValue(Names));
      break;
    }
  }
}

void TCurrentModuleFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  TakeFamilyMember(CurrentModuleFunctions, Value, FFunctionType);
}

void TCurrentModuleFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  if (FFunctionType == cmfSetCurrentModule) {
    const std::string Name = TextOf(FunCall, 0, Context);
    if (Engine.GetModules()->IndexOf(Name) < 0) throw EKBException(Format(_SNoSuchModule, Name));
    Engine.SetCurrentModule(Engine.GetModules()->GetModule(Name));
  }
  Result = ModuleName(Engine.GetCurrentModule());
}

// ---------------------------------------------------------------- watches and duplicates

void TWatchFunction::InitMetaData() {
  Describe("watch", "Turns on the trace lines of a kind of event", " all|rules|facts|focus|activations|compilations|statistics",
           1, 1);
}

void TWatchFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  const std::string Word = TextOf(FunCall, 0, Context);
  TConstructWatches Watches;
  if (!WatchesOf(Word, Watches)) throw EKBException(Format(_SCannotWatch, Word));
  Engine.SetWatch(Engine.GetWatch() + Watches);
  Result = FCTrue;
}

void TUnwatchFunction::InitMetaData() {
  Describe("unwatch", "Turns off the trace lines of a kind of event",
           " all|rules|facts|focus|activations|compilations|statistics", 1, 1);
}

void TUnwatchFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  // The word as written, not evaluated.
  const std::string Word = FunCall->GetArgument(0)->GetAsString();
  TConstructWatches Watches;
  if (!WatchesOf(Word, Watches)) throw EKBException(Format(_SCannotUnWatch, Word));
  Engine.SetWatch(Engine.GetWatch() - Watches);
  Result = FCTrue;
}

void TGetFactDuplicationFunction::InitMetaData() {
  Describe("get-fact-duplication", "Returns TRUE while a fact equal to one in working memory is not asserted", "", 0,
           0);
}

void TGetFactDuplicationFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(!EngineOf(Context).GetFactDuplication());
}

void TSetFactDuplicationFunction::InitMetaData() {
  Describe("set-fact-duplication",
           "Unless the argument is FALSE, a fact equal to one in working memory is not asserted; returns the "
           "previous setting",
           " <boolean-expression>", 1, 1);
}

void TSetFactDuplicationFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = Truth(!Engine.GetFactDuplication());
  Engine.SetFactDuplication(IsFalse(Evaluate(FunCall, 0, Context)));
}

// ---------------------------------------------------------------- storage

void TStoreFunction::InitMetaData() {
  Describe("store", "Keeps the value under the name until the engine is cleared; returns the value",
           " <variable-name> <value>", 2, 2);
}

void TStoreFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  Result = Evaluate(FunCall, 1, Context);
  // nil stores an entry without a value, and gives none.
  if (Result == FCNil) Result = nullptr;
  Engine.GetStorage()->Put(TextOf(FunCall, 0, Context), Result);
}

void TFetchFunction::InitMetaData() {
  Describe("fetch", "Returns the value kept under the name, or nil", " <lexeme-expression>", 1, 1);
}

void TFetchFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  // The name as written, not evaluated.
  const std::string Name = FunCall->GetArgument(0)->GetAsString();
  IKBValue Stored;
  if (EngineOf(Context).GetStorage()->TryGetValue(Name, Stored))
    Result = Stored;
  else
    Result = FCNil;
}

void TClearStorageFunction::InitMetaData() {
  Describe("clear-storage", "Forgets every value kept by store", "", 0, 0);
}

void TClearStorageFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  EngineOf(Context).GetStorage()->Clear();
}

// ---------------------------------------------------------------- backward chaining and version

void TDoBackwardChainingFunction::InitMetaData() {
  Describe("do-backward-chaining",
           "Marks the templates for backward chaining and makes the goal template need-<name> of each",
           " <fact-template-name>*", 0);
}

void TDoBackwardChainingFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TInferenceEngine& Engine = EngineOf(Context);
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) {
    const std::string Name = TextOf(FunCall, I, Context);
    if (Name == STestCE || Name == "not") throw EKBException(Format(_SBackChainCE, Name));
    IFactTemplate Template = Engine.FindFactTemplate(Name);
    if (!Template) Template = Engine.CreateFactTemplate(Name);
    Template->SetBackwardChaining(true);
    // The goal has the slots of the wanted template but is no kind of it.
    IFactTemplate Goal(new TFactTemplate(&Engine, SBackChainPrefix + Name, "Goal seeker for " + Name, Template));
    Goal->SetParent(nullptr);
    Engine.GetFactTemplates()->Add(Goal);
  }
  Result = FCTrue;
}

void TVersionFunction::InitMetaData() { Describe("version", "Returns the version of the engine", "", 0, 0); }

void TVersionFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = IKBValue(new TKBValue(static_cast<double>(EngineOf(Context).GetVersion())));
}

}  // namespace cogent
