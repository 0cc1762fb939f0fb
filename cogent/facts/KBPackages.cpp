#include "cogent/facts/KBPackages.h"

#include <algorithm>

#include "cogent/facts/KBPrinter.h"
#include "cogent/host/Stack.h"

namespace cogent {

namespace {

// The host's message for a class name that nobody registered.
constexpr const char* SClassNotFound = "Class %s not found";

TKBContext* AsContext(TObject* Context) {
  if (!Context) return nullptr;
  auto* Result = ObjectAs<TKBContext>(Context);
  if (!Result) throw EInvalidCast(SInvalidCast);
  return Result;
}

[[noreturn]] void NoSuchFunction(const std::string& Name) { throw EKBException(Format(_SNoSuchFunction, Name)); }

// Every call the user's text nests (arguments, deffunctions, files that load
// files) comes through here, so this is where a runaway nesting is stopped.
// The check is asked at every call and stays in line; the error is built
// out of line.
[[noreturn, gnu::noinline]] void CallsTooDeep(const std::string& Name) {
  throw EKBException(Format(_SCallsTooDeep, Name));
}

void CheckStack(const std::string& Name) {
  if (StackNearlyExhausted()) [[unlikely]]
    CallsTooDeep(Name);
}

// Registered when the unit starts, so that "PackageFunctions" finds them.
[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TKBUserFunction, TPersistent>();
  RegisterClass<TCustomUserFunction, TComponent>();
  RegisterClass<TUserFunction, TCustomUserFunction>();
  return true;
}();

}  // namespace

// ---------------------------------------------------------------- lists

void TBaseReasonerList::Notify(IReasoner* const& Item, TCollectionNotification Action) {
  FOwner->ReasonerNotification(Item, Action);
}

void TReasonerList::Notify(IReasoner* const& Item, TCollectionNotification Action) {
  FOwner->ReasonerNotification(Item, Action);
}

int TUserFunctionList::Add(const IUserFunction& Function) {
  if (Function && !Function->GetConstructed()) Function->AfterConstruction();
  return TVXNotifyList<IUserFunction>::Add(Function);
}

std::string TUserFunctionList::ToString() const {
  std::string Result;
  for (const IUserFunction& Function : ToArray())
    if (Function) Result += Function->GetFunctionName() + sLineBreak;
  return Result;
}

void TUserFunctionList::Notify(const IUserFunction& Item, TCollectionNotification Action) {
  FPackage->FunctionNotification(Item, Action);
}

// ---------------------------------------------------------------- TKBUserFunction

TKBUserFunction::TKBUserFunction() = default;

// No reasoner knows a function under construction, so the name is stored.
TKBUserFunction::TKBUserFunction(const TKBName& AName) : FFunctionName(AName) {}

// A function goes only with its last reference, by which time no table holds
// it; the reasoner list needs no reports.
TKBUserFunction::~TKBUserFunction() = default;

void TKBUserFunction::AfterConstruction() {
  if (FConstructed) return;
  FConstructed = true;
  InitMetaData();
}

int TKBUserFunction::AddReasoner(IReasoner* Reasoner) {
  if (!Reasoner) return -1;
  return FReasoners.Add(Reasoner);
}

void TKBUserFunction::ClearReasoners() { FReasoners.Clear(); }

void TKBUserFunction::DeleteReasoner(int Index) { FReasoners.Delete(Index); }

void TKBUserFunction::DeleteReasoner(IReasoner* Reasoner) { FReasoners.Remove(Reasoner); }

bool TKBUserFunction::HeldBy(IReasoner* Reasoner) const {
  IUserFunction Held;
  return Reasoner->ContainsUserFunction(FFunctionName, Held) && Held.get() == this;
}

void TKBUserFunction::Register(IReasoner* Reasoner) {
  Reasoner->AddUserFunction(IUserFunction(this));
  // A reasoner that kept another function under this name (or refused this
  // one) must not stay in the list: it would hear of this function later.
  if (HeldBy(Reasoner)) {
    FReasoners.Keep(Reasoner);
  } else {
    FReasoners.Forget(Reasoner);
  }
}

void TKBUserFunction::ReasonerNotification(IReasoner* Reasoner, TCollectionNotification Action) {
  switch (Action) {
    case cnAdded: {
      const IUserFunction Self(this);
      try {
        Register(Reasoner);
      } catch (...) {
        FReasoners.Forget(Reasoner);
        throw;
      }
      break;
    }
    case cnExtracted:
    case cnRemoved: {
      const IUserFunction Self(this);
      Reasoner->RemoveUserFunction(Self);
      break;
    }
    default:
      break;
  }
}

void TKBUserFunction::SetFunctionName(const TKBName& Value) {
  if (Value == FFunctionName) return;
  const std::vector<IReasoner*> Reasoners = FReasoners.ToArray();
  if (Reasoners.empty()) {
    FFunctionName = Value;
    return;
  }
  // The tables may hold the only references.
  const IUserFunction Self(this);
  for (IReasoner* Reasoner : Reasoners) Reasoner->RemoveUserFunction(Self);
  const TKBName OldName = FFunctionName;
  FFunctionName = Value;
  try {
    for (IReasoner* Reasoner : Reasoners) Register(Reasoner);
  } catch (...) {
    // A refused name changes nothing: back under the old name everywhere.
    for (IReasoner* Reasoner : Reasoners) {
      try {
        if (HeldBy(Reasoner)) Reasoner->RemoveUserFunction(Self);
      } catch (...) {
      }
    }
    FFunctionName = OldName;
    for (IReasoner* Reasoner : Reasoners) {
      try {
        Register(Reasoner);
      } catch (...) {
        FReasoners.Forget(Reasoner);
      }
    }
    throw;
  }
}

void TKBUserFunction::SetArgumentString(const std::string& Value) { FArgumentString = Value; }

void TKBUserFunction::SetMinArgumentCount(std::int32_t Value) {
  if (Value == FMinArgumentCount) return;
  FMinArgumentCount = Value;
  if (Value > FMaxArgumentCount) FMaxArgumentCount = Value;
}

void TKBUserFunction::SetMaxArgumentCount(std::int32_t Value) {
  if (Value == FMaxArgumentCount) return;
  FMaxArgumentCount = Value;
  if (Value < FMinArgumentCount) FMinArgumentCount = Value;
}

std::string TKBUserFunction::ToString(IReasoner* Reasoner) const {
  if (!Reasoner) return FFunctionName;
  return Reasoner->PrettyPrint(IUserFunction(const_cast<TKBUserFunction*>(this)));
}

void TKBUserFunction::Call(const IFunCall& FunCall, TObject* Context, IKBValue& Result) {
  Invoke(FunCall, AsContext(Context), Result);
}

void TKBUserFunction::Invoke(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  // The limits as fields, not through the getters: an interpreted function
  // reports its own parameters but checks them itself.
  CheckArgumentCount(FunCall ? FunCall->GetArgumentCount() : 0);
  Call(FunCall, Context, Result);
}

void TKBUserFunction::ArgumentCountError(int Count) const {
  throw EKBException(Format(Count < FMinArgumentCount ? _STooFewArgs : _STooManyArgs, FFunctionName));
}

void TKBUserFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  (void)FunCall;
  (void)Context;
  Result = nullptr;
}

void TKBUserFunction::Assign(TPersistent* Source) {
  if (auto* Other = dynamic_cast<TKBUserFunction*>(Source)) {
    if (Other == this) return;
    FMinArgumentCount = Other->FMinArgumentCount;
    FMaxArgumentCount = Other->FMaxArgumentCount;
    FComment = Other->FComment;
    SetFunctionName(Other->FFunctionName);
    return;
  }
  TPersistent::Assign(Source);
}

void TKBUserFunction::WriteData(TFunctionDataWriter& Writer) const {
  Writer.WriteString(FFunctionName);
  Writer.WriteString(FComment);
  Writer.WriteInteger(FMaxArgumentCount);
  Writer.WriteInteger(FMinArgumentCount);
}

void TKBUserFunction::ReadData(TFunctionDataReader& Reader) {
  const std::string Name = Reader.ReadString();
  const std::string Comment = Reader.ReadString();
  const std::int32_t Max = Reader.ReadInteger();
  const std::int32_t Min = Reader.ReadInteger();
  SetFunctionName(Name);
  FComment = Comment;
  FMaxArgumentCount = Max;
  FMinArgumentCount = Min;
}

// ---------------------------------------------------------------- TFunctionCall

TFunctionCall::TFunctionCall(std::string AName) : FName(std::move(AName)) {}

TFunctionCall::TFunctionCall(IReasoner* AReasoner, std::string AName)
    : FReasoner(AReasoner), FName(std::move(AName)) {}

void TFunctionCall::SetUserFunction(const IUserFunction& Value) {
  if (Value == FUserFunction) return;
  FUserFunction = Value;
  FName = Value ? Value->GetFunctionName() : std::string();
}

int TFunctionCall::AddArgument(const IKBValue& Value) {
  FArguments.push_back(Value);
  return GetArgumentCount() - 1;
}

int TFunctionCall::AddArgument(double Value, TKBType Type) {
  switch (Type) {
    case dtFloat:
      return AddArgument(IKBValue(new TKBValue(Value)));
    case dtInteger: {
      // The value's own conversion refuses a number out of range.
      const std::int32_t Truncated = IKBValue(new TKBValue(Value))->GetAsInteger();
      return AddArgument(IKBValue(new TKBValue(Truncated, dtInteger)));
    }
    default:
      throw EKBException(Format(_SNotCorrectType, "Float", FloatToStr(Value), GetKBTypeName(Type)));
  }
}

int TFunctionCall::AddArgument(std::int32_t Value, TKBType Type) {
  switch (Type) {
    case dtInteger:
      return AddArgument(IKBValue(new TKBValue(Value, dtInteger)));
    case dtFloat:
      return AddArgument(IKBValue(new TKBValue(static_cast<double>(Value))));
    default:
      throw EKBException(Format(_SNotCorrectType, "Integer", IntToStr(Value), GetKBTypeName(Type)));
  }
}

int TFunctionCall::AddArgument(const std::string& Value, TKBType Type) {
  if (!KBStringTypes.Contains(Type))
    throw EKBException(Format(_SNotCorrectType, "String", Value, GetKBTypeName(Type)));
  return AddArgument(IKBValue(new TKBValue(Value, Type)));
}

int TFunctionCall::AddArgument(const IFact& Value) { return AddArgument(IKBValue(new TKBValue(Value))); }

int TFunctionCall::AddArgument(const IFunCall& Value) { return AddArgument(IKBValue(new TKBValue(Value))); }

int TFunctionCall::AddArgument(const IValueVector& Value) { return AddArgument(IKBValue(new TKBValue(Value))); }

IKBValue TFunctionCall::GetArgument(int Index) const {
  if (Index < 0 || Index >= GetArgumentCount()) throw EListError(Format(SListIndexError, Index));
  return FArguments[static_cast<std::size_t>(Index)];
}

void TFunctionCall::SetArgument(int Index, const IKBValue& Value) {
  if (Index < 0 || Index >= GetArgumentCount()) throw EListError(Format(SListIndexError, Index));
  FArguments[static_cast<std::size_t>(Index)] = Value;
  ForgetVariableBindings();
}

void TFunctionCall::Clear() {
  FArguments.clear();
  ForgetVariableBindings();
}

void TFunctionCall::Delete(int Index) {
  if (Index < 0 || Index >= GetArgumentCount()) throw EListError(Format(SListIndexError, Index));
  FArguments.erase(FArguments.begin() + Index);
  ForgetVariableBindings();
}

void TFunctionCall::Bind(TKBContext* Context) {
  if (FUserFunction) return;
  IReasoner* Reasoner = FReasoner;
  if (!Reasoner && Context) Reasoner = dynamic_cast<IReasoner*>(Context->GetEngine());
  if (!Reasoner) return;
  IUserFunction Function;
  if (!Reasoner->ContainsUserFunction(FName, Function) || !Function) NoSuchFunction(FName);
  SetUserFunction(Function);
}

IKBValue TFunctionCall::Execute(TObject* Context) {
  TKBContext* KBContext = AsContext(Context);
  // The call stays alive through its run whatever the function does to
  // tables and rules.
  return Run(IFunCall(this), KBContext);
}

IKBValue TFunctionCall::Run(const IFunCall& Call, TKBContext* Context) {
  IKBValue Result;
  Perform(Call, Context, &Result);
  return Result;
}

void TFunctionCall::RunStatement(const IFunCall& Call, TKBContext* Context) {
  if (typeid(*Call) == typeid(TFunctionCall))
    Perform(Call, Context, nullptr);
  else
    Call->Execute(Context);
}

void TFunctionCall::Perform(const IFunCall& Call, TKBContext* Context, IKBValue* Result) {
  TFunctionCall& Self = *Call;
  if (!Self.FUserFunction) {
    Self.Bind(Context);
    if (!Self.FUserFunction) NoSuchFunction(Self.FName);
  }
  CheckStack(Self.FName);
  TKBUserFunction& Known = *Self.FUserFunction;
  if (const TKBUserFunction::TDirectEntry Entry = Known.GetDirectEntry()) {
    // The entry never reaches the function object, so nothing holds it.
    Known.CheckArgumentCount(Self.GetArgumentCount());
    Entry(Call, Context, Result);
    return;
  }
  // The function too, should the call let go of it.
  const IUserFunction Function(Self.FUserFunction);
  IKBValue Dropped;
  Function->Invoke(Call, Context, Result ? *Result : Dropped);
}

IKBValue TFunctionCall::ResolveArgument(int Index, TKBContext* Context) {
  IKBValue Keep;
  TKBValue* Value = PeekArgument(Index, Context, Keep);
  return Keep ? Keep : IKBValue(Value);
}

TKBValue* TFunctionCall::PeekArgument(int Index, TKBContext* Context, IKBValue& Keep) {
  if (Index < 0 || Index >= GetArgumentCount()) throw EListError(Format(SListIndexError, Index));
  TKBValue* const Argument = FArguments[static_cast<std::size_t>(Index)].get();
  if (!Argument || TKBValue::StandsForItself(Argument->GetDType())) return Argument;
  switch (Argument->GetDType()) {
    case dtVariable:
    case dtMultiVariable:
      if (const TBinding* Binding = FindVariableBinding(static_cast<std::size_t>(Index), *Argument, Context))
        if (TKBValue* Value = Binding->GetValue().get()) return Value;
      // Outer levels, and the errors, as the value itself resolves.
      Keep = Argument->Resolve(Context);
      return Keep.get();
    case dtObject:
      if (Context)
        if (const auto* Info = ObjectAs<TBindingInfo>(Argument->GetAsObject())) return Context->PeekBound(*Info, Keep);
      break;
    case dtFunCall:
      if (const IFunCall Call = Argument->GetAsFunCall()) {
        Keep = RunCall(Call, Context);
        return Keep.get();
      }
      break;
    default:
      break;
  }
  // The argument may change under its own resolution.
  const IKBValue Held(Argument);
  Keep = Held->Resolve(Context);
  return Keep.get();
}

TBinding* TFunctionCall::FindVariableBinding(std::size_t Index, const TKBValue& Argument, TKBContext* Context) {
  // Only a binding of the context's own level is kept: one found further up
  // could be hidden by a binding that enters a level in between.
  if (!Context) return nullptr;
  const TBindings& Level = Context->GetBindings();
  if (FVariableBindings.size() < FArguments.size()) FVariableBindings.resize(FArguments.size());
  TVariableBinding& Known = FVariableBindings[Index];
  const std::string_view Name = Argument.GetText();
  if (Known.Stamp == Level.GetStamp() && Known.Binding->GetName() == Name) return Known.Binding;
  TBinding* Binding = nullptr;
  if (!Level.TryGetValue(std::string(Name), Binding) || !Binding) return nullptr;
  Known = {Level.GetStamp(), Binding};
  return Binding;
}

IKBValue TFunctionCall::SimpleExecute(TKBContext* Context) {
  if (!FUserFunction) NoSuchFunction(FName);
  CheckStack(FName);
  const IFunCall Self(this);
  const IUserFunction Function(FUserFunction);
  IKBValue Result;
  try {
    Function->Invoke(Self, Context, Result);
  } catch (const std::exception& E) {
    throw EKBException(Format(SFunctionError, FName, std::string(E.what())));
  }
  return Result;
}

bool TFunctionCall::Equals(const IFunCall& Other) const {
  if (!Other || Other->FName != FName || Other->GetArgumentCount() != GetArgumentCount()) return false;
  for (std::size_t I = 0; I < FArguments.size(); ++I) {
    const IKBValue& A = FArguments[I];
    const IKBValue& B = Other->FArguments[I];
    if (A ? !A->Equals(B) : static_cast<bool>(B)) return false;
  }
  return true;
}

bool TFunctionCall::Equals(const IInterface& Other) const {
  const IFunCall Call = Other.As<TFunctionCall>();
  return Call && Equals(Call);
}

std::int32_t TFunctionCall::GetHashCode() const {
  // A plain sum, so that the order of the arguments does not count.
  std::uint32_t Hash = static_cast<std::uint32_t>(CalculateHash(FName));
  for (const IKBValue& Argument : FArguments)
    if (Argument) Hash += static_cast<std::uint32_t>(Argument->GetHashCode());
  return static_cast<std::int32_t>(Hash);
}

std::string TFunctionCall::ToString() const {
  // The engine prints a call as the parser unit does.
  return PrettyPrint(*this);
}

void TFunctionCall::AssignFrom(const TFunctionCall& Source) {
  if (&Source == this) return;
  std::vector<IKBValue> Arguments;
  Arguments.reserve(Source.FArguments.size());
  for (const IKBValue& Argument : Source.FArguments) Arguments.push_back(Argument ? Argument->Clone() : IKBValue());
  FName = Source.FName;
  FComment = Source.FComment;
  FTag = Source.FTag;
  FArguments = std::move(Arguments);
  ForgetVariableBindings();
}

void TFunctionCall::Assign(const IInterface& Source) {
  const IFunCall Call = Source.As<TFunctionCall>();
  if (!Call) throw EKBException(_SUnknownValueInterface);
  AssignFrom(*Call);
}

void TFunctionCall::Assign(TPersistent* Source) {
  if (auto* Call = dynamic_cast<TFunctionCall*>(Source)) {
    AssignFrom(*Call);
    return;
  }
  TPersistent::Assign(Source);
}

IFunCall TFunctionCall::Clone() const {
  IFunCall Result(new TFunctionCall(FReasoner, FName));
  Result->AssignFrom(*this);
  return Result;
}

IInterface TFunctionCall::CloneInterface() const { return Clone(); }

// ---------------------------------------------------------------- stream form

void TFunctionDataWriter::WriteString(const std::string& Value) {
  if (!FText.empty() && FText.back() != '\n') FText += ' ';
  FText += QuoteString(Value);
}

void TFunctionDataWriter::WriteInteger(std::int32_t Value) {
  if (!FText.empty() && FText.back() != '\n') FText += ' ';
  FText += IntToStr(Value);
}

void TFunctionDataWriter::WriteLineEnd() { FText += sLineBreak; }

void TFunctionDataReader::SkipBlanks() {
  while (FPos < FText.size() && (FText[FPos] == ' ' || FText[FPos] == '\t')) ++FPos;
}

void TFunctionDataReader::SkipLine() {
  bool Quoted = false;
  while (FPos < FText.size() && (Quoted || (FText[FPos] != '\r' && FText[FPos] != '\n'))) {
    if (FText[FPos] == '\\' && Quoted)
      ++FPos;
    else if (FText[FPos] == '"')
      Quoted = !Quoted;
    ++FPos;
  }
}

bool TFunctionDataReader::NextLine() {
  while (FPos < FText.size() && (FText[FPos] == '\r' || FText[FPos] == '\n' || FText[FPos] == ' ' ||
                                 FText[FPos] == '\t'))
    ++FPos;
  return FPos < FText.size();
}

std::string TFunctionDataReader::ReadString() {
  SkipBlanks();
  if (FPos >= FText.size() || FText[FPos] != '"') throw EReadError(SReadError);
  ++FPos;
  std::string Result;
  while (FPos < FText.size() && FText[FPos] != '"') {
    if (FText[FPos] == '\\') ++FPos;
    if (FPos >= FText.size()) break;
    Result += FText[FPos++];
  }
  if (FPos >= FText.size()) throw EReadError(SReadError);
  ++FPos;
  return Result;
}

std::int32_t TFunctionDataReader::ReadInteger() {
  SkipBlanks();
  const std::size_t Start = FPos;
  while (FPos < FText.size() && FText[FPos] != ' ' && FText[FPos] != '\t' && FText[FPos] != '\r' &&
         FText[FPos] != '\n')
    ++FPos;
  std::int32_t Result = 0;
  if (!TryStrToInt(std::string(FText.substr(Start, FPos - Start)), Result)) throw EReadError(SReadError);
  return Result;
}

// ---------------------------------------------------------------- TUserPackage

TUserPackage::TUserPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) { Construct(); }

TUserPackage::TUserPackage(TComponent* AOwner, TDeferredConstruction)
    : TCustomReasonerOwner(AOwner), FFunctions(std::make_unique<TUserFunctionList>(this)) {}

void TUserPackage::Construct() {
  if (auto* Reasoner = dynamic_cast<IReasoner*>(GetOwner())) AddComponentReasoner(GetOwner(), Reasoner);
  CreateFunctions();
}

TUserPackage::~TUserPackage() {
  Destroying();
  // Every function leaves every reasoner.
  FReasoners.Clear();
  FFunctions->Clear();
  if (FEngineComponent) FEngineComponent->RemoveFreeNotification(this);
  FEngineComponent = nullptr;
  FEngineReasoner = nullptr;
}

void TUserPackage::AddComponentReasoner(TComponent* Component, IReasoner* Reasoner) {
  const auto It = std::find_if(FComponentReasoners.begin(), FComponentReasoners.end(),
                               [&](const auto& Entry) { return Entry.first == Component; });
  if (It == FComponentReasoners.end()) FComponentReasoners.emplace_back(Component, Reasoner);
  FReasoners.Add(Reasoner);
}

void TUserPackage::ForgetComponent(TComponent* Component) {
  std::erase_if(FComponentReasoners, [&](const auto& Entry) { return Entry.first == Component; });
}

void TUserPackage::CreateFunctions() {
  if (OnCreateFunctions) OnCreateFunctions(this);
}

void TUserPackage::FunctionNotification(const IUserFunction& Function, TCollectionNotification Action) {
  if (FReasoners.GetCount() == 0) return;
  switch (Action) {
    case cnAdded:
      AddReasoners(Function);
      break;
    case cnExtracted:
    case cnRemoved:
      RemoveReasoners(Function);
      break;
    default:
      break;
  }
}

void TUserPackage::AddFunctions(IReasoner* Reasoner) {
  for (const IUserFunction& Function : FFunctions->ToArray())
    if (Function) Function->AddReasoner(Reasoner);
}

void TUserPackage::AddReasoners(const IUserFunction& Function) {
  for (IReasoner* Reasoner : FReasoners.ToArray()) Function->AddReasoner(Reasoner);
}

void TUserPackage::RemoveReasoners(const IUserFunction& Function) {
  for (IReasoner* Reasoner : FReasoners.ToArray()) Function->DeleteReasoner(Reasoner);
}

void TUserPackage::RemoveFunctions(IReasoner* Reasoner) {
  for (const IUserFunction& Function : FFunctions->ToArray()) {
    if (!Function) continue;
    const int Index = Function->IndexOfReasoner(Reasoner);
    if (Index >= 0) Function->DeleteReasoner(Index);
  }
}

void TUserPackage::ReasonerNotification(IReasoner* Reasoner, TCollectionNotification Action) {
  TCustomReasonerOwner::ReasonerNotification(Reasoner, Action);
  if (!FFunctions) return;
  switch (Action) {
    case cnAdded:
      AddFunctions(Reasoner);
      break;
    case cnExtracted:
    case cnRemoved:
      RemoveFunctions(Reasoner);
      if (Reasoner == FEngineReasoner) {
        if (FEngineComponent) FEngineComponent->RemoveFreeNotification(this);
        FEngineComponent = nullptr;
        FEngineReasoner = nullptr;
      }
      break;
    default:
      break;
  }
}

void TUserPackage::SetEngine(TComponent* Value) {
  if (Value == FEngineComponent) return;
  if (FEngineComponent) FEngineComponent->RemoveFreeNotification(this);
  TComponent* NewComponent = Value;
  IReasoner* NewReasoner = KnowledgeBaseOf(Value);
  if (!GetComponentState().Contains(csDesigning)) {
    TComponent* OldComponent = FEngineComponent;
    IReasoner* OldReasoner = FEngineReasoner;
    FEngineComponent = nullptr;
    FEngineReasoner = nullptr;
    if (OldComponent && OldComponent != GetOwner()) ForgetComponent(OldComponent);
    if (OldReasoner) FReasoners.Remove(OldReasoner);
    FEngineComponent = NewComponent;
    FEngineReasoner = NewReasoner;
    if (Value) AddComponentReasoner(NewComponent, NewReasoner);
  } else {
    FEngineComponent = NewComponent;
    FEngineReasoner = NewReasoner;
  }
  if (NewComponent) NewComponent->FreeNotification(this);
}

void TUserPackage::Notification(TComponent* AComponent, TOperation Operation) {
  TCustomReasonerOwner::Notification(AComponent, Operation);
  if (Operation != opRemove || !AComponent) return;
  // The component may be half destroyed: its reasoner is found by record,
  // never by asking it.
  IReasoner* Reasoner = nullptr;
  const auto It = std::find_if(FComponentReasoners.begin(), FComponentReasoners.end(),
                               [&](const auto& Entry) { return Entry.first == AComponent; });
  if (It != FComponentReasoners.end()) {
    Reasoner = It->second;
    FComponentReasoners.erase(It);
  }
  if (FEngineComponent == AComponent) {
    Reasoner = FEngineReasoner;
    FEngineComponent = nullptr;
    FEngineReasoner = nullptr;
  }
  if (Reasoner) FReasoners.Remove(Reasoner);
}

void TUserPackage::SetReset(bool Value) {
  if (!Value) return;
  FFunctions->Clear();
  CreateFunctions();
}

int TUserPackage::IndexOf(const TKBName& Name) const {
  for (int I = 0; I < FFunctions->GetCount(); ++I) {
    const IUserFunction& Function = FFunctions->Get(I);
    if (Function && Function->GetFunctionName() == Name) return I;
  }
  return -1;
}

void TUserPackage::Assign(TPersistent* Source) {
  if (auto* Other = dynamic_cast<TUserPackage*>(Source)) {
    FFunctions->Assign(*Other->FFunctions);
    return;
  }
  TCustomReasonerOwner::Assign(Source);
}

std::string TUserPackage::GetPackageFunctions() const {
  TFunctionDataWriter Writer;
  for (const IUserFunction& Function : FFunctions->ToArray()) {
    if (!Function) continue;
    Writer.WriteString(Function->ClassName());
    Function->WriteData(Writer);
    Writer.WriteLineEnd();
  }
  return Writer.GetText();
}

void TUserPackage::SetPackageFunctions(const std::string& Value) {
  FFunctions->Clear();
  TFunctionDataReader Reader(Value);
  while (Reader.NextLine()) {
    const std::string Name = Reader.ReadString();
    const TMetaClass* Class = TMetaClass::FindClass(Name);
    if (!Class || !Class->CanCreate()) throw EReadError(Format(SClassNotFound, Name));
    TObject* Instance = Class->CreateInstance(nullptr);
    auto* Function = dynamic_cast<TKBUserFunction*>(Instance);
    if (!Function) {
      delete Instance;
      Reader.SkipLine();
      continue;
    }
    IUserFunction Held(Function);
    Held->AfterConstruction();
    Held->ReadData(Reader);
    FFunctions->Add(Held);
  }
}

// ---------------------------------------------------------------- host functions

TKBInnerFunction::TKBInnerFunction(TObject* AOwner)
    : FOwner(AOwner), FNexus(std::make_unique<TKBFunctionNexus>(this)) {
  if (auto* Component = dynamic_cast<TComponent*>(AOwner)) Component->FreeNotification(FNexus.get());
}

TKBInnerFunction::TKBInnerFunction(TObject* AOwner, const TKBName& AName) : TKBInnerFunction(AOwner) {
  FFunctionName = AName;
}

TKBInnerFunction::~TKBInnerFunction() = default;

void TKBInnerFunction::Notification(TComponent* AComponent, TOperation Operation) {
  if (Operation == opRemove && AComponent && static_cast<TObject*>(AComponent) == FOwner) FOwner = nullptr;
}

void TKBInnerFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TKBUserFunction::Call(FunCall, Context, Result);
  if (!FOwner) NoSuchFunction(FFunctionName);
  if (auto* Owner = dynamic_cast<TCustomUserFunction*>(FOwner)) {
    Owner->Call(FunCall, Context, Result);
    return;
  }
  if (OnCall) OnCall(this, FunCall, Context, Result);
}

void TKBFunctionNexus::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  if (FInnerFunction) FInnerFunction->Notification(AComponent, Operation);
}

TCustomUserFunction::TCustomUserFunction(TComponent* AOwner)
    : TComponent(AOwner), FInnerFunction(TKBUserFunction::Create<TKBInnerFunction>(this)) {
  FInnerFunction->SetFunctionName(GetName());
}

TCustomUserFunction::TCustomUserFunction(TComponent* AOwner, const TKBName& AName)
    : TComponent(AOwner), FInnerFunction(TKBUserFunction::Create<TKBInnerFunction>(this)) {
  FInnerFunction->SetFunctionName(AName);
}

TCustomUserFunction::~TCustomUserFunction() {
  Destroying();
  SetEngine(nullptr);
}

void TCustomUserFunction::RebuildArgumentString() {
  SetArgumentString(CreateArgumentExpressions(GetArgumentString(), GetMinArgumentCount(), GetMaxArgumentCount(), 10));
}

void TCustomUserFunction::SetMinArgumentCount(std::int32_t Value) {
  FInnerFunction->SetMinArgumentCount(Value);
  RebuildArgumentString();
}

void TCustomUserFunction::SetMaxArgumentCount(std::int32_t Value) {
  FInnerFunction->SetMaxArgumentCount(Value);
  RebuildArgumentString();
}

void TCustomUserFunction::SetEngine(TComponent* AEngine) {
  if (AEngine == FEngineComponent) return;
  IReasoner* Value = KnowledgeBaseOf(AEngine);
  IReasoner* Old = FEngine;
  TComponent* OldComponent = FEngineComponent;
  if (OldComponent) OldComponent->RemoveFreeNotification(this);
  // An engine on its way out has let its functions go already, and is not
  // to be called any more.
  if (Old && !GetFunctionName().empty() && !OldComponent->GetComponentState().Contains(csDestroying))
    Old->RemoveUserFunction(FInnerFunction);
  FEngine = nullptr;
  FEngineComponent = nullptr;
  if (Value && !GetFunctionName().empty()) Value->AddUserFunction(FInnerFunction);
  FEngine = Value;
  FEngineComponent = AEngine;
  if (AEngine) AEngine->FreeNotification(this);
}

void TCustomUserFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  Result = FCNil;
  if (GetComponentState().Contains(csDesigning)) return;
  if (OnCall) OnCall(this, FunCall, Context, Result);
}

void TCustomUserFunction::Assign(TPersistent* Source) {
  if (auto* Other = dynamic_cast<TCustomUserFunction*>(Source)) {
    if (Other == this) return;
    SetComment(Other->GetComment());
    SetFunctionName(Other->GetFunctionName());
    SetMaxArgumentCount(Other->GetMaxArgumentCount());
    SetMinArgumentCount(Other->GetMinArgumentCount());
    return;
  }
  TComponent::Assign(Source);
}

void TCustomUserFunction::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  if (Operation == opRemove && AComponent && FEngineComponent == AComponent) SetEngine(nullptr);
}

// ---------------------------------------------------------------- argument strings

std::string CreateArgumentExpressions(const std::string& Old, std::int32_t Min, std::int32_t Max, std::int32_t Limit) {
  if (Min > Max || Max == 0) return {};
  // Positions are one-based as in the text's own terms.
  const std::size_t Length = Old.size();
  std::string Result;
  std::int32_t Depth = 0;
  const bool Optional = Min == 0;
  if (Optional) ++Depth;
  std::size_t P = 1;
  for (std::int32_t I = 0; I < Max && I < Limit; ++I) {
    while (P < Length && Old[P - 1] != '<') ++P;
    std::size_t Q = P + 1;
    while (Q <= Length && Old[Q - 1] != '>') ++Q;
    if (P < Length && Q <= Length)
      Result += " " + Old.substr(P - 1, Q - P + 1);
    else
      Result += " <expression>";
    P = Q + 1;
    if (I + 1 >= Min && I < Max - 1) {
      Result += "[";
      ++Depth;
    }
  }
  Result.append(static_cast<std::size_t>(Depth), ']');
  // The opening bracket of an optional first argument stands before the trim.
  return Optional ? "[" + TrimLeft(Result) : TrimLeft(Result);
}

}  // namespace cogent
