#include "cogent/host/Classes.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <typeindex>
#include <unordered_map>

#include "cogent/host/Guards.h"

namespace cogent {

// ================================================================ class registry

namespace {

struct TClassRegistry {
  std::mutex Lock;
  std::unordered_map<std::type_index, std::unique_ptr<TMetaClass>> Classes;
  std::vector<const TMetaClass*> Registered;  // in registration order
};

// Never destroyed: class names are asked for from static destructors too.
TClassRegistry& Registry() {
  static TClassRegistry* const Instance = new TClassRegistry;
  return *Instance;
}

// "cogent::(anonymous namespace)::TList<cogent::TFoo>" gives "TList".
std::string ShortClassName(const char* Mangled) {
  int Status = 0;
  const std::unique_ptr<char, void (*)(void*)> Demangled(abi::__cxa_demangle(Mangled, nullptr, nullptr, &Status),
                                                         std::free);
  const std::string Full = Status == 0 && Demangled ? Demangled.get() : Mangled;
  std::string Plain;
  int Depth = 0;
  for (char C : Full) {
    if (C == '<')
      ++Depth;
    else if (C == '>')
      Depth = std::max(Depth - 1, 0);
    else if (Depth == 0)
      Plain += C;
  }
  const std::size_t Colons = Plain.rfind("::");
  if (Colons != std::string::npos) Plain.erase(0, Colons + 2);
  return Plain;
}

TMetaClass* OfLocked(TClassRegistry& R, const std::type_info& AType) {
  std::unique_ptr<TMetaClass>& Slot = R.Classes[std::type_index(AType)];
  if (!Slot) Slot = std::make_unique<TMetaClass>(ShortClassName(AType.name()));
  return Slot.get();
}

}  // namespace

bool TMetaClass::InheritsFrom(const TMetaClass* AClass) const noexcept {
  for (const TMetaClass* C = this; C; C = C->FParent)
    if (C == AClass) return true;
  return false;
}

TObject* TMetaClass::CreateInstance(TComponent* AOwner) const {
  return FFactory ? FFactory(AOwner) : nullptr;
}

const TMetaClass* TMetaClass::Of(const std::type_info& AType) {
  TClassRegistry& R = Registry();
  const std::lock_guard<std::mutex> Guard(R.Lock);
  return OfLocked(R, AType);
}

const TMetaClass* TMetaClass::FindClass(std::string_view AName) {
  TClassRegistry& R = Registry();
  const std::lock_guard<std::mutex> Guard(R.Lock);
  for (const TMetaClass* C : R.Registered)
    if (SameText(C->FName, AName)) return C;
  return nullptr;
}

void TMetaClass::Register(const std::type_info& AType, const std::type_info* AParent, TFactory AFactory) {
  TClassRegistry& R = Registry();
  const std::lock_guard<std::mutex> Guard(R.Lock);
  TMetaClass* Class = OfLocked(R, AType);
  if (AParent) {
    TMetaClass* Parent = OfLocked(R, *AParent);
    // A parent that descends from the class would make the ancestry endless.
    if (!Parent->InheritsFrom(Class)) Class->FParent = Parent;
  }
  Class->FFactory = std::move(AFactory);
  if (std::find(R.Registered.begin(), R.Registered.end(), Class) == R.Registered.end()) R.Registered.push_back(Class);
}

// ================================================================ TPersistent

void TPersistent::Assign(TPersistent* Source) {
  if (Source)
    Source->AssignTo(this);
  else
    AssignError(nullptr);
}

void TPersistent::AssignTo(TPersistent* Dest) { Dest->AssignError(this); }

void TPersistent::DefineProperties(TFiler&) {}

void TPersistent::AssignError(TPersistent* Source) {
  const std::string SourceName = Source ? Source->ClassName() : std::string("nil");
  throw EConvertError(Format(SAssignError, SourceName, ClassName()));
}

// ================================================================ TComponent

namespace {

// Searched from the back, where the latest additions stand: components are
// mostly taken away last first.
template <class T>
bool EraseOne(std::vector<T*>& List, const T* Item) {
  const auto It = std::find(List.rbegin(), List.rend(), Item);
  if (It == List.rend()) return false;
  List.erase(std::next(It).base());
  return true;
}

bool Holds(const std::vector<TComponent*>& List, const TComponent* Item) {
  return std::find(List.begin(), List.end(), Item) != List.end();
}

}  // namespace

TComponent::TComponent(TComponent* AOwner) {
  if (AOwner) AOwner->InsertComponent(this);
}

TComponent::~TComponent() {
  Destroying();
  // Last first; each one is unlinked before it hears, so a receiver that
  // frees other listeners leaves the list consistent.
  while (!FFreeNotifies.empty()) {
    TComponent* Receiver = FFreeNotifies.back();
    FFreeNotifies.pop_back();
    EraseOne(Receiver->FFreeNotifies, this);
    Receiver->Notification(this, opRemove);
  }
  DestroyComponents();
  if (FOwner) FOwner->RemoveComponent(this);
}

TComponent* TComponent::GetComponent(int Index) const {
  if (Index < 0 || Index >= GetComponentCount()) throw EListError(Format(SListIndexError, Index));
  return FComponents[static_cast<std::size_t>(Index)];
}

int TComponent::GetComponentIndex() const {
  if (!FOwner) return -1;
  const auto& List = FOwner->FComponents;
  const auto It = std::find(List.begin(), List.end(), this);
  return It == List.end() ? -1 : static_cast<int>(It - List.begin());
}

TComponent* TComponent::FindComponent(std::string_view AName) const {
  if (AName.empty()) return nullptr;
  for (TComponent* C : FComponents)
    if (SameText(C->FName, AName)) return C;
  return nullptr;
}

void TComponent::InsertComponent(TComponent* AComponent) {
  if (!AComponent || AComponent->FOwner == this) return;
  for (const TComponent* O = this; O; O = O->FOwner)
    if (O == AComponent) throw EInvalidOperation(SComponentOwnerLoop);
  if (AComponent->FOwner) AComponent->FOwner->RemoveComponent(AComponent);
  FComponents.push_back(AComponent);
  if (AComponent->FHearsSiblings) FListeners.push_back(AComponent);
  AComponent->FOwner = this;
  if (FComponentState.Contains(csDesigning)) AComponent->SetDesigning(true);
  NotifyAll(AComponent, opInsert);
}

void TComponent::RemoveComponent(TComponent* AComponent) {
  if (!AComponent || AComponent->FOwner != this) return;
  EraseOne(FComponents, AComponent);
  EraseOne(FListeners, AComponent);
  AComponent->FOwner = nullptr;
  NotifyAll(AComponent, opRemove);
}

void TComponent::DestroyComponents() {
  while (!FComponents.empty()) {
    TComponent* Instance = FComponents.back();
    // Only a component that others watch needs its removal announced.
    if (Instance->FComponentState.Contains(csFreeNotification)) {
      RemoveComponent(Instance);
    } else {
      FComponents.pop_back();
      EraseOne(FListeners, Instance);
      Instance->FOwner = nullptr;
    }
    delete Instance;
  }
}

void TComponent::FreeNotification(TComponent* AComponent) {
  if (!AComponent || AComponent == this) return;
  // Never take a reference to a component on its way out.
  if (FComponentState.Contains(csDestroying) || AComponent->FComponentState.Contains(csDestroying)) return;
  if (!Holds(FFreeNotifies, AComponent)) FFreeNotifies.push_back(AComponent);
  if (!Holds(AComponent->FFreeNotifies, this)) AComponent->FFreeNotifies.push_back(this);
  FComponentState.Include(csFreeNotification);
  AComponent->FComponentState.Include(csFreeNotification);
}

void TComponent::RemoveFreeNotification(TComponent* AComponent) {
  if (!AComponent) return;
  EraseOne(FFreeNotifies, AComponent);
  EraseOne(AComponent->FFreeNotifies, this);
}

void TComponent::HearNoSiblings() {
  if (!FHearsSiblings) return;
  FHearsSiblings = false;
  if (FOwner) EraseOne(FOwner->FListeners, this);
}

void TComponent::SetName(const std::string& NewName) { FName = NewName; }

void TComponent::SetDesigning(bool Value) {
  if (Value)
    FComponentState.Include(csDesigning);
  else
    FComponentState.Exclude(csDesigning);
  for (TComponent* C : FComponents) C->SetDesigning(Value);
}

void TComponent::BeginLoading() {
  FComponentState.Include(csLoading);
  for (TComponent* C : FComponents) C->BeginLoading();
}

void TComponent::EndLoading() {
  // The owner first, as the host's reader calls Loaded in stream order.
  if (FComponentState.Contains(csLoading)) {
    FComponentState.Exclude(csLoading);
    Loaded();
  }
  // Loaded may add or free components: walk a copy, skipping those gone.
  const std::vector<TComponent*> Children = FComponents;
  for (TComponent* C : Children)
    if (Holds(FComponents, C)) C->EndLoading();
}

void TComponent::Destroying() {
  if (FComponentState.Contains(csDestroying)) return;
  FComponentState.Include(csDestroying);
  for (TComponent* C : FComponents) C->Destroying();
}

void TComponent::Notification(TComponent* AComponent, TOperation Operation) {
  if (Operation == opRemove && AComponent) {
    RemoveFreeNotification(AComponent);
    EraseOne(FComponents, AComponent);
    EraseOne(FListeners, AComponent);
  }
}

void TComponent::Loaded() { FComponentState.Exclude(csLoading); }

void TComponent::NotifyAll(TComponent* AComponent, TOperation Operation) {
  Notification(AComponent, Operation);
  // Last first; a notification may shrink the list.
  std::size_t I = FListeners.size();
  while (I > 0) {
    --I;
    if (I >= FListeners.size()) {
      if (FListeners.empty()) break;
      I = FListeners.size() - 1;
    }
    FListeners[I]->Notification(AComponent, Operation);
  }
}

// ================================================================ TStrings

void TStrings::Put(int Index, const std::string& S) {
  TObject* Temp = GetObject(Index);
  Delete(Index);
  InsertObject(Index, S, Temp);
}

TObject* TStrings::GetObject(int) const { return nullptr; }

void TStrings::PutObject(int, TObject*) {}

void TStrings::InsertObject(int Index, const std::string& S, TObject* AObject) {
  Insert(Index, S);
  PutObject(Index, AObject);
}

int TStrings::Add(const std::string& S) {
  const int Result = GetCount();
  Insert(Result, S);
  return Result;
}

int TStrings::AddObject(const std::string& S, TObject* AObject) {
  const int Result = Add(S);
  PutObject(Result, AObject);
  return Result;
}

void TStrings::AddStrings(const TStrings& Strings) {
  const auto Update = UpdateGuard(*this);
  const int Count = Strings.GetCount();  // fixed first: Strings may be this list
  for (int I = 0; I < Count; ++I) AddObject(Strings.Get(I), Strings.GetObject(I));
}

void TStrings::Exchange(int Index1, int Index2) {
  const auto Update = UpdateGuard(*this);
  TObject* TempObject = GetObject(Index1);
  const std::string TempString = Get(Index1);
  Put(Index1, Get(Index2));
  PutObject(Index1, GetObject(Index2));
  Put(Index2, TempString);
  PutObject(Index2, TempObject);
}

void TStrings::Move(int CurIndex, int NewIndex) {
  if (CurIndex == NewIndex) return;
  const auto Update = UpdateGuard(*this);
  TObject* TempObject = GetObject(CurIndex);
  const std::string TempString = Get(CurIndex);
  // Cleared first so that a list owning its objects doesn't free this one.
  PutObject(CurIndex, nullptr);
  Delete(CurIndex);
  InsertObject(NewIndex, TempString, TempObject);
}

int TStrings::IndexOf(const std::string& S) const {
  const int Count = GetCount();
  for (int I = 0; I < Count; ++I)
    if (CompareStrings(Get(I), S) == 0) return I;
  return -1;
}

int TStrings::IndexOfObject(const TObject* AObject) const {
  const int Count = GetCount();
  for (int I = 0; I < Count; ++I)
    if (GetObject(I) == AObject) return I;
  return -1;
}

int TStrings::IndexOfName(const std::string& Name) const {
  const int Count = GetCount();
  for (int I = 0; I < Count; ++I) {
    const std::string Line = Get(I);
    const std::size_t P = Line.find('=');
    if (P != std::string::npos && CompareStrings(Line.substr(0, P), Name) == 0) return I;
  }
  return -1;
}

std::string TStrings::GetText() const {
  std::string Result;
  const int Count = GetCount();
  for (int I = 0; I < Count; ++I) {
    Result += Get(I);
    Result += sLineBreak;
  }
  return Result;
}

void TStrings::SetText(const std::string& Value) {
  const auto Update = UpdateGuard(*this);
  Clear();
  const std::size_t N = Value.size();
  std::size_t P = 0;
  while (P < N) {
    const std::size_t E = Value.find_first_of("\r\n", P);
    if (E == std::string::npos) {
      Add(Value.substr(P));
      break;
    }
    Add(Value.substr(P, E - P));
    P = E + 1;
    if (Value[E] == '\r' && P < N && Value[P] == '\n') ++P;
  }
}

std::string TStrings::GetNameAt(int Index) const {
  const std::string Line = Get(Index);
  const std::size_t P = Line.find('=');
  return P == std::string::npos ? std::string() : Line.substr(0, P);
}

std::string TStrings::GetValue(const std::string& Name) const {
  const int I = IndexOfName(Name);
  if (I < 0) return std::string();
  const std::string Line = Get(I);
  return Line.substr(Line.find('=') + 1);
}

void TStrings::SetValue(const std::string& Name, const std::string& Value) {
  int I = IndexOfName(Name);
  if (Value.empty()) {
    // An empty value removes the line, as the host does.
    if (I >= 0) Delete(I);
    return;
  }
  if (I < 0) I = Add(std::string());
  Put(I, Name + "=" + Value);
}

void TStrings::BeginUpdate() {
  if (FUpdateCount == 0) SetUpdateState(true);
  ++FUpdateCount;
}

void TStrings::EndUpdate() {
  if (FUpdateCount == 0) return;
  --FUpdateCount;
  if (FUpdateCount == 0) SetUpdateState(false);
}

void TStrings::Assign(TPersistent* Source) {
  if (auto* Strings = dynamic_cast<TStrings*>(Source)) {
    if (Strings == this) return;
    const auto Update = UpdateGuard(*this);
    Clear();
    AddStrings(*Strings);
    return;
  }
  TPersistent::Assign(Source);
}

bool TStrings::Equals(const TStrings& Other) const {
  const int Count = GetCount();
  if (Count != Other.GetCount()) return false;
  for (int I = 0; I < Count; ++I)
    if (Get(I) != Other.Get(I)) return false;
  return true;
}

void TStrings::SetUpdateState(bool) {}

int TStrings::CompareStrings(const std::string& S1, const std::string& S2) const { return CompareText(S1, S2); }

void TStrings::ListError(const char* Msg, int Data) { throw EListError(Format(Msg, Data)); }

}  // namespace cogent
