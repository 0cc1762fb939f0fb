#include "cogent/values/KBValue.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <mutex>
#include <unordered_map>

#include "cogent/facts/KBContext.h"
#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/KBToken.h"
#include "cogent/values/KBFuzzyLogic.h"

namespace cogent {

namespace {

// Stops watching a borrowed component without telling it anything: the
// value may be letting go while the component is being destroyed.
void Unwatch(TObject* Object, std::unique_ptr<TKBValueNexus>& Nexus) {
  if (auto* Component = dynamic_cast<TComponent*>(Object)) Component->RemoveFreeNotification(Nexus.get());
  Nexus.reset();
}

const TKBValueChangeEvent NoChangeEvent;

// The side blocks of the values that have one. Never destroyed: values die
// in the destructors of other static objects too.
struct TExtraTable {
  std::mutex Lock;
  std::unordered_map<const TKBValue*, std::unique_ptr<TKBValueExtra>> Items;
};

TExtraTable& Extras() {
  static TExtraTable* const Result = new TExtraTable;
  return *Result;
}

// The side tags, and their count for the check without the lock. Never
// destroyed, as the side blocks.
struct TSideTags {
  std::mutex Lock;
  std::unordered_map<const void*, std::intptr_t> Items;
  std::atomic<std::size_t> Count{0};
};

TSideTags& SideTags() {
  static TSideTags* const Result = new TSideTags;
  return *Result;
}

// "%.4f" without the process locale; a negative value that rounds to zero
// prints as zero.
std::string FloatText(double Value) {
  char Buffer[512];
  const auto [End, Error] = std::to_chars(Buffer, Buffer + sizeof(Buffer), Value, std::chars_format::fixed, 4);
  if (Error != std::errc()) return Format("%.4f", Value);
  std::string Result(Buffer, End);
  if (Result == "-0.0000") Result.erase(0, 1);
  return Result;
}

// Truncation toward zero into 32 bits; false when the number doesn't fit.
bool TruncToInt32(double Value, std::int32_t& Result) {
  const double Truncated = std::trunc(Value);
  if (!(Truncated >= std::numeric_limits<std::int32_t>::min() &&
        Truncated <= std::numeric_limits<std::int32_t>::max()))
    return false;
  Result = static_cast<std::int32_t>(Truncated);
  return true;
}

template <class T>
std::intptr_t PointerCell(T* Pointer) {
  return reinterpret_cast<std::intptr_t>(Pointer);
}

template <class T>
T* CellPointer(std::intptr_t Cell) {
  return reinterpret_cast<T*>(Cell);
}

// The float's class under SameFloat: its rounded ten-thousandths, or the
// number itself where a double no longer holds that many decimals.
struct TFloatKey {
  double Key;
  bool Exact;
};

TFloatKey FloatKey(double Value) noexcept {
  constexpr double ScaledLimit = 1e11;
  if (std::isnan(Value)) return {std::numeric_limits<double>::quiet_NaN(), true};
  if (!(std::fabs(Value) < ScaledLimit)) return {Value, true};
  return {std::nearbyint(Value * 10000.0) + 0.0, false};
}

bool IsTextKind(TKBType AType) { return KBStringTypes.Contains(AType); }

bool IsInterfaceKind(TKBType AType) {
  return AType == dtFunCall || AType == dtFact || AType == dtList || AType == dtSingletons || AType == dtFuzzy;
}

}  // namespace

std::intptr_t FindSideTag(const void* Object) noexcept {
  TSideTags& Tags = SideTags();
  const std::lock_guard<std::mutex> Guard(Tags.Lock);
  const auto Found = Tags.Items.find(Object);
  return Found == Tags.Items.end() ? 0 : Found->second;
}

void SetSideTag(const void* Object, std::intptr_t Value) {
  TSideTags& Tags = SideTags();
  const std::lock_guard<std::mutex> Guard(Tags.Lock);
  if (Value)
    Tags.Items[Object] = Value;
  else
    Tags.Items.erase(Object);
  Tags.Count.store(Tags.Items.size(), std::memory_order_relaxed);
}

bool AnySideTags() noexcept { return SideTags().Count.load(std::memory_order_relaxed) != 0; }

bool SameFloat(double A, double B) noexcept {
  const TFloatKey KeyA = FloatKey(A);
  const TFloatKey KeyB = FloatKey(B);
  if (KeyA.Exact != KeyB.Exact) return false;
  return KeyA.Key == KeyB.Key || (std::isnan(KeyA.Key) && std::isnan(KeyB.Key));
}

std::int32_t FloatHash(double Value) noexcept {
  const TFloatKey Key = FloatKey(Value);
  // Zero's two signs are one key already; NaN gets a fixed pattern.
  const std::uint64_t Bits = std::isnan(Key.Key) ? 0x7FF8000000000000ull : std::bit_cast<std::uint64_t>(Key.Key);
  return HashCombine(static_cast<std::int32_t>(Bits >> 32), static_cast<std::int32_t>(Bits) ^ Key.Exact);
}

// ---------------------------------------------------------------- TKBText

TKBText::TKBText(std::string_view Text, std::int32_t Hash) noexcept : FHash(Hash), FLength(Text.size()) {
  char* Data = FData;
  std::memcpy(Data, Text.data(), Text.size());
  Data[Text.size()] = 0;
}

namespace {
// The short texts this thread made last, by hash: a symbol that many values
// hold (a relation name, a constant field) is one text, not a copy per value.
// A slot keeps one reference of its own.
constexpr std::size_t RecentTextCount = 64;
constexpr std::size_t RecentTextLength = 32;
constinit thread_local bool RecentTextsGone = false;

struct TRecentTexts {
  TKBText* Items[RecentTextCount] = {};
  TRecentTexts() = default;
  TRecentTexts(const TRecentTexts&) = delete;
  TRecentTexts& operator=(const TRecentTexts&) = delete;
  ~TRecentTexts() {
    RecentTextsGone = true;
    for (TKBText* Text : Items)
      if (Text) Text->Release();
  }
};
}  // namespace

TKBText* TKBText::Make(std::string_view Text) {
  const std::int32_t Hash = CalculateHash(Text);
  // FData's one character is the terminator.
  const auto New = [Text, Hash] { return new (::operator new(sizeof(TKBText) + Text.size())) TKBText(Text, Hash); };
  // Texts made while the thread's own objects are destroyed are not kept.
  if (Text.size() > RecentTextLength || RecentTextsGone) return New();
  static thread_local TRecentTexts Recent;
  TKBText*& Slot = Recent.Items[(static_cast<std::uint32_t>(Hash) * 0x9E3779B9u) >> 26];
  if (Slot && Slot->GetHash() == Hash && Slot->View() == Text) {
    Slot->AddRef();
    return Slot;
  }
  TKBText* Made = New();
  if (Slot) Slot->Release();
  Made->AddRef();
  Slot = Made;
  return Made;
}

// A value in 24 bytes takes a 24-byte block of the pool.
static_assert(sizeof(TKBValue) <= 24);
// A list takes a 48-byte block, its tag being in the side table.
static_assert(sizeof(TValueVector) <= 48);

// ---------------------------------------------------------------- TKBValueNexus

void TKBValueNexus::Notification(TComponent* AComponent, TOperation Operation) {
  TComponent::Notification(AComponent, Operation);
  if (FKBValue) FKBValue->Notification(AComponent, Operation);
}

// ---------------------------------------------------------------- construction

TKBValue::TKBValue(TPersistentClass AClass) : FKBType(dtClass) {
  FValue.VInteger = PointerCell(AClass);
}

void TKBValue::InvalidValueType() { throw EKBException(_SInvalidValueType); }

TKBValue::TKBValue(const std::string& AValue, TKBType AType) {
  if (!KBStringTypes.Contains(AType)) throw EKBException(_SInvalidValueType);
  FValue.VText = TKBText::Make(AValue);
  FKBType = AType;
}

TKBValue::TKBValue(const IValueVector& AValue) : FKBType(dtList) { FValue.VInterface = IInterface(AValue).detach(); }

TKBValue::TKBValue(const IKBValue& AValue) { Assign(IInterface(AValue)); }

TKBValue::TKBValue(const IFuzzySet& AValue) : FKBType(dtFuzzy) { FValue.VInterface = IInterface(AValue).detach(); }

TKBValue::TKBValue(const IFact& AValue) : FKBType(dtFact) { FValue.VInterface = IInterface(AValue).detach(); }

TKBValue::TKBValue(const IFunCall& AValue) : FKBType(dtFunCall) { FValue.VInterface = IInterface(AValue).detach(); }

TKBValue::TKBValue(const ISingletonsVector& AValue) : FKBType(dtSingletons) {
  FValue.VInterface = IInterface(AValue).detach();
}

TKBValue::TKBValue(TObject* AObject, bool Owned) {
  if (Owned) {
    SetAsOwnedObject(AObject);
  } else {
    FKBType = dtObject;
    FValue.VInteger = PointerCell(AObject);
    WatchObject();
  }
}

TKBValue::TKBValue(double AValue) : FKBType(dtFloat) { FValue.VExtended = AValue; }

TKBValue::~TKBValue() {
  if (TKBValueExtra* E = FindExtra()) E->OnChange = nullptr;
  Reset();
  if (!FHasExtra) return;
  // The block goes outside the lock: a nexus that goes may tell others.
  std::unique_ptr<TKBValueExtra> Gone;
  {
    TExtraTable& Table = Extras();
    const std::lock_guard<std::mutex> Guard(Table.Lock);
    const auto Found = Table.Items.find(this);
    if (Found != Table.Items.end()) {
      Gone = std::move(Found->second);
      Table.Items.erase(Found);
    }
  }
  FHasExtra = false;
}

// ---------------------------------------------------------------- side block

namespace {
[[gnu::noinline]] TKBValueExtra* LookUpExtra(const TKBValue* Value) noexcept {
  TExtraTable& Table = Extras();
  const std::lock_guard<std::mutex> Guard(Table.Lock);
  const auto Found = Table.Items.find(Value);
  return Found == Table.Items.end() ? nullptr : Found->second.get();
}
}  // namespace

// Small, so that the common case, no side block, is decided in line.
TKBValueExtra* TKBValue::FindExtra() const noexcept { return FHasExtra ? LookUpExtra(this) : nullptr; }

TKBValueExtra& TKBValue::Extra() {
  if (TKBValueExtra* E = FindExtra()) return *E;
  auto Made = std::make_unique<TKBValueExtra>();
  TKBValueExtra& Result = *Made;
  {
    TExtraTable& Table = Extras();
    const std::lock_guard<std::mutex> Guard(Table.Lock);
    Table.Items[this] = std::move(Made);
  }
  FHasExtra = true;
  return Result;
}

TKBValueNexus* TKBValue::GetNexus() const noexcept {
  const TKBValueExtra* E = FindExtra();
  return E ? E->Nexus.get() : nullptr;
}

std::unique_ptr<TKBValueNexus>& TKBValue::NexusSlot() { return Extra().Nexus; }

const TKBValueChangeEvent& TKBValue::GetOnChange() const noexcept {
  const TKBValueExtra* E = FindExtra();
  return E ? E->OnChange : NoChangeEvent;
}

void TKBValue::SetOnChange(TKBValueChangeEvent Value) {
  if (Value || FHasExtra) Extra().OnChange = std::move(Value);
}

std::intptr_t TKBValue::GetTag() const noexcept {
  const TKBValueExtra* E = FindExtra();
  return E ? E->Tag : 0;
}

void TKBValue::SetTag(std::intptr_t Value) {
  if (Value || FHasExtra) Extra().Tag = Value;
}

template <class T>
Ref<T> TKBValue::Interface() const noexcept {
  return Ref<T>(static_cast<T*>(FValue.VInterface));
}

// ---------------------------------------------------------------- setters

void TKBValue::ReleaseCell() noexcept {
  // Released only after the kind changes: the last reference may run a
  // destructor that looks at this value again.
  const TKBValueRec Old = FValue;
  const TKBType OldType = FKBType;
  FValue.VInteger = 0;
  FKBType = dtNone;
  if (IsTextKind(OldType)) {
    if (Old.VText) Old.VText->Release();
  } else if (IsInterfaceKind(OldType) && Old.VInterface) {
    Old.VInterface->_Release();
  }
}

void TKBValue::CopyCell(const TKBValue& Source) noexcept {
  FValue = Source.FValue;
  if (IsTextKind(Source.FKBType)) {
    if (FValue.VText) FValue.VText->AddRef();
  } else if (IsInterfaceKind(Source.FKBType)) {
    if (FValue.VInterface) FValue.VInterface->_AddRef();
  }
  FKBType = Source.FKBType;
}

void TKBValue::Changing(TKBType) {
  if (FKBType == dtObject && IsOwningObject()) {
    FindExtra()->Nexus.reset();
    TObject* Object = CellPointer<TObject>(FValue.VInteger);
    const TComponent* Component = dynamic_cast<TComponent*>(Object);
    FValue.VInteger = 0;
    FKBType = dtNone;
    if (!(Component && Component->GetComponentState().Contains(csDestroying))) delete Object;
  } else if (GetNexus()) {
    Unwatch(CellPointer<TObject>(FValue.VInteger), FindExtra()->Nexus);
  } else {
    ReleaseCell();
  }
}

void TKBValue::Changed() {
  if (const TKBValueExtra* E = FindExtra(); E && E->OnChange) E->OnChange(Self());
}

void TKBValue::StoreString(TKBType AType, const std::string& Value) {
  TKBText* Text = TKBText::Make(Value);  // Value may be this value's own text
  Changing(AType);
  FKBType = AType;
  FValue.VText = Text;
  Changed();
}

void TKBValue::StoreInteger(TKBType AType, std::intptr_t Value) {
  Changing(AType);
  FKBType = AType;
  FValue.VInteger = Value;
  Changed();
}

void TKBValue::StoreInterface(TKBType AType, IInterface Value) {
  Changing(AType);
  FKBType = AType;
  FValue.VInterface = Value.detach();
  Changed();
}

void TKBValue::SetAsAtom(const std::string& Value) { StoreString(dtAtom, Value); }
void TKBValue::SetAsString(const std::string& Value) { StoreString(dtString, Value); }
void TKBValue::SetAsVariable(const std::string& Value) { StoreString(dtVariable, Value); }
void TKBValue::SetAsMultiVariable(const std::string& Value) { StoreString(dtMultiVariable, Value); }
void TKBValue::SetAsSlot(const std::string& Value) { StoreString(dtSlot, Value); }
void TKBValue::SetAsMultiSlot(const std::string& Value) { StoreString(dtMultiSlot, Value); }
void TKBValue::SetAsClass(TPersistentClass Value) { StoreInteger(dtClass, PointerCell(Value)); }
void TKBValue::SetAsDescriptor(std::int32_t Value) { StoreInteger(dtDescriptor, Value); }
void TKBValue::SetAsExternalAddress(void* Value) { StoreInteger(dtExternalAddress, PointerCell(Value)); }
void TKBValue::SetAsFactId(std::int32_t Value) { StoreInteger(dtFactId, Value); }
void TKBValue::SetAsInteger(std::int32_t Value) { StoreInteger(dtInteger, Value); }
void TKBValue::SetAsFact(const IFact& Value) { StoreInterface(dtFact, Value); }
void TKBValue::SetAsFunCall(const IFunCall& Value) { StoreInterface(dtFunCall, Value); }
void TKBValue::SetAsFuzzy(const IFuzzySet& Value) { StoreInterface(dtFuzzy, Value); }
void TKBValue::SetAsList(const IValueVector& Value) { StoreInterface(dtList, Value); }
void TKBValue::SetAsSingletons(const ISingletonsVector& Value) { StoreInterface(dtSingletons, Value); }

void TKBValue::SetAsFloat(double Value) {
  Changing(dtFloat);
  FKBType = dtFloat;
  FValue.VExtended = Value;
  Changed();
}

void TKBValue::Disown(TObject* Object) {
  if (Object && IsOwningObject() && CellPointer<TObject>(FValue.VInteger) == Object) FindExtra()->Nexus.reset();
}

void TKBValue::SetAsObject(TObject* Value) {
  Disown(Value);  // storing the owned object again must not free it
  StoreInteger(dtObject, PointerCell(Value));
  WatchObject();
}

void TKBValue::WatchObject() {
  if (FKBType != dtObject || GetNexus()) return;
  auto* Component = dynamic_cast<TComponent*>(CellPointer<TObject>(FValue.VInteger));
  if (!Component || Component->GetComponentState().Contains(csDestroying)) return;
  auto& Nexus = NexusSlot();
  Nexus = std::make_unique<TKBValueNexus>(this, false);
  Component->FreeNotification(Nexus.get());
}

void TKBValue::SetAsOwnedObject(TObject* Value) {
  Disown(Value);
  Changing(dtObject);
  FKBType = dtObject;
  FValue.VInteger = PointerCell(Value);
  // The nexus marks the object as owned; a component also tells it when it
  // is freed elsewhere.
  auto& Nexus = NexusSlot();
  Nexus = std::make_unique<TKBValueNexus>(this, true);
  if (auto* Component = dynamic_cast<TComponent*>(Value)) Component->FreeNotification(Nexus.get());
  Changed();
}

void TKBValue::Reset() {
  Changing(dtNone);
  ReleaseCell();
}

void TKBValue::Notification(TComponent* AComponent, TOperation Operation) {
  if (Operation != opRemove || FKBType != dtObject ||
      CellPointer<TObject>(FValue.VInteger) != static_cast<TObject*>(AComponent))
    return;
  if (IsOwningObject()) {
    Reset();
  } else {
    // Borrowed: the value stays an object value, now holding nil.
    FindExtra()->Nexus.reset();
    FValue.VInteger = 0;
  }
}

// ---------------------------------------------------------------- getters

void TKBValue::TypeError(const char* Label) const {
  throw EKBException(Format(_SNotCorrectType, Label, GetToString(), GetKBTypeName(FKBType)));
}

std::string_view TKBValue::GetText() const noexcept {
  return IsTextKind(FKBType) && FValue.VText ? FValue.VText->View() : std::string_view();
}

std::string TKBValue::GetAsString() const {
  if (IsTextKind(FKBType)) return std::string(GetText());
  switch (FKBType) {
    case dtInteger:
      return IntToStr(static_cast<std::int32_t>(FValue.VInteger));
    case dtFloat:
      return FloatText(FValue.VExtended);
    case dtFuzzy:
      // A fuzzy value that holds no set reads as empty text.
      return FValue.VInterface ? Interface<TFuzzySet>()->ToString() : std::string();
    default:
      TypeError("string");
  }
}

std::int32_t TKBValue::IntegerOfOtherKinds() const {
  std::int32_t Result = 0;
  switch (FKBType) {
    case dtFloat:
      if (TruncToInt32(FValue.VExtended, Result)) return Result;
      break;
    case dtAtom:
    case dtString: {
      double Float = 0;
      const std::string Text(GetText());
      if (TryStrToInt(Text, Result)) return Result;
      if (TryStrToFloat(Text, Float) && TruncToInt32(Float, Result)) return Result;
      break;
    }
    case dtFactId:
    case dtDescriptor:
    case dtExternalAddress:
      return IntegerInPlace();
    case dtFuzzy:
      if (FValue.VInterface && TruncToInt32(std::round(Interface<TFuzzySet>()->GetCrispValue()), Result))
        return Result;
      break;
    default:
      break;
  }
  TypeError("integer");
}

double TKBValue::GetAsFloat() const {
  switch (FKBType) {
    case dtFloat:
      return FValue.VExtended;
    case dtAtom:
    case dtString: {
      if (FCNil.get() == this) return 0.0;
      double Result = 0;
      if (TryStrToFloat(std::string(GetText()), Result)) return Result;
      break;
    }
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
      return static_cast<double>(static_cast<std::int32_t>(FValue.VInteger));
    case dtFuzzy:
      if (FValue.VInterface) return Interface<TFuzzySet>()->GetCrispValue();
      break;
    default:
      break;
  }
  TypeError("numeric");
}

std::int32_t TKBValue::GetAsFactId() const {
  std::int32_t Result = 0;
  switch (FKBType) {
    case dtInteger:
    case dtFactId:
      return static_cast<std::int32_t>(FValue.VInteger);
    case dtFloat:
      if (TruncToInt32(FValue.VExtended, Result)) return Result;
      break;
    default:
      break;
  }
  TypeError("fact id");
}

std::int32_t TKBValue::GetAsDescriptor() const {
  if (FKBType != dtDescriptor) TypeError("descriptor");
  return static_cast<std::int32_t>(FValue.VInteger);
}

void* TKBValue::GetAsExternalAddress() const {
  if (FKBType != dtExternalAddress && FKBType != dtObject) TypeError("External Address");
  return CellPointer<void>(FValue.VInteger);
}

IFact TKBValue::GetAsFact() const {
  if (FKBType != dtFact) TypeError("fact");
  return Interface<TFact>();
}

IFunCall TKBValue::GetAsFunCall() const {
  if (FKBType != dtFunCall) TypeError("function call");
  return Interface<TFunctionCall>();
}

IValueVector TKBValue::GetAsList() const {
  if (FKBType != dtList) TypeError("list");
  return Interface<TValueVector>();
}

TObject* TKBValue::GetAsObject() const {
  if (FKBType != dtObject) TypeError("object");
  return CellPointer<TObject>(FValue.VInteger);
}

TObject* TKBValue::GetAsOwnedObject() const { return GetAsObject(); }

TPersistentClass TKBValue::GetAsClass() const {
  if (FKBType != dtClass) TypeError("class");
  return CellPointer<const TMetaClass>(FValue.VInteger);
}

IFuzzySet TKBValue::GetAsFuzzy() const {
  if (FKBType != dtFuzzy) TypeError("fuzzy value");
  return Interface<TFuzzySet>();
}

ISingletonsVector TKBValue::GetAsSingletons() const {
  if (FKBType != dtSingletons) TypeError("singletons");
  return Interface<TSingletonsVector>();
}

// ---------------------------------------------------------------- comparison

bool TKBValue::Equals(const IKBValue& Other) const {
  if (Other.get() == this) return true;
  if (!Other) return false;
  if (FKBType != Other->FKBType) {
    if (Other->FKBType == dtFuzzy && FKBType != dtFuzzy) return Other->Equals(Self());
    if (FKBType != dtFuzzy) return false;
  }
  switch (FKBType) {
    case dtNone:
      return true;
    case dtAtom:
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      return FValue.VText == Other->FValue.VText ||
             (FValue.VText->GetHash() == Other->FValue.VText->GetHash() && GetText() == Other->GetText());
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
      return static_cast<std::int32_t>(FValue.VInteger) == static_cast<std::int32_t>(Other->FValue.VInteger);
    case dtFloat:
      return SameFloat(FValue.VExtended, Other->FValue.VExtended);
    case dtFunCall:
      return GetAsFunCall()->Equals(Other->GetAsFunCall());
    case dtFact:
      return GetAsFact()->Equals(Other->GetAsFact());
    case dtList:
      return GetAsList()->Equals(Other->GetAsList());
    case dtObject:
    case dtClass:
    case dtExternalAddress:
      return FValue.VInteger == Other->FValue.VInteger;
    case dtSingletons:
      return GetAsSingletons()->Equals(Other->GetAsSingletons());
    case dtFuzzy:
      if (!FValue.VInterface) return Other->FKBType == dtFuzzy && !Other->FValue.VInterface;
      return GetAsFuzzy()->Equals(IInterface(Other));
  }
  return false;
}

bool TKBValue::Equals(const IInterface& Other) const {
  const IKBValue Value = Other.As<TKBValue>();
  return Value && Equals(Value);
}

bool TKBValue::EqualsStar(const IKBValue& Other) const {
  if (!Other) return false;
  if (FKBType == dtFunCall && Other->FKBType != dtFunCall) return false;
  if (FKBType != dtFuzzy && Other->FKBType == dtFuzzy) return Other->EqualsStar(Self());
  switch (FKBType) {
    case dtNone:
      // An empty value is loosely equal to another empty value and to empty text.
      if (Other->FKBType == dtNone) return true;
      return IsTextKind(Other->FKBType) && Other->GetText().empty();
    case dtAtom:
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      if (Other->FKBType == dtNone) return GetText().empty();
      if (IsTextKind(Other->FKBType)) return GetText() == Other->GetText();
      return GetText() == Other->GetAsString();
    case dtInteger:
      return static_cast<std::int32_t>(FValue.VInteger) == Other->GetAsInteger();
    case dtFactId:
      return static_cast<std::int32_t>(FValue.VInteger) == Other->GetAsFactId();
    case dtDescriptor:
      return static_cast<std::int32_t>(FValue.VInteger) == Other->GetAsDescriptor();
    case dtFloat:
      return FloatEquals(FValue.VExtended, Other->GetAsFloat(), 0.0001);
    case dtFunCall:
      return GetAsFunCall()->Equals(Other->GetAsFunCall());
    case dtFact:
      return GetAsFact()->Equals(Other->GetAsFact());
    case dtList:
      return GetAsList()->Equals(Other->GetAsList());
    case dtObject:
      return GetAsObject() == Other->GetAsObject();
    case dtClass:
      return GetAsClass() == Other->GetAsClass();
    case dtExternalAddress:
      return GetAsExternalAddress() == Other->GetAsExternalAddress();
    case dtSingletons:
      return GetAsSingletons()->Equals(Other->GetAsSingletons());
    case dtFuzzy:
      if (!FValue.VInterface) return Other->FKBType == dtFuzzy && !Other->FValue.VInterface;
      return GetAsFuzzy()->Equals(IInterface(Other));
  }
  return false;
}

std::int32_t TKBValue::HashOtherKinds() const {
  switch (FKBType) {
    case dtNone:
      return 0;
    case dtAtom:
    case dtString:
    case dtVariable:
    case dtMultiVariable:
    case dtSlot:
    case dtMultiSlot:
      return FValue.VText->GetHash();
    case dtFuzzy:
      return CalculateHash(GetAsString());
    case dtInteger:
    case dtFactId:
    case dtDescriptor:
    case dtExternalAddress:
      return IntegerInPlace();
    case dtFloat:
      return FloatHash(FValue.VExtended);
    case dtObject:
    case dtClass:
      return IntegerInPlace();
    case dtFunCall:
      return GetAsFunCall()->GetHashCode();
    case dtFact:
      return GetAsFact()->GetHashCode();
    case dtList:
      return GetAsList()->GetHashCode();
    case dtSingletons:
      return GetAsSingletons()->GetHashCode();
  }
  return 0;
}

// ---------------------------------------------------------------- copying

TObject* TKBValue::CopyOwnedObject(const TKBValue& Source) const {
  auto* Original = CellPointer<TObject>(Source.FValue.VInteger);
  auto* Component = dynamic_cast<TComponent*>(Original);
  TObject* Copy = Original->ClassType()->CreateInstance(Component ? Component->GetOwner() : nullptr);
  if (!Copy) throw EKBException(Format(_SUncloneableValue, Original->ClassName()));
  if (auto* Persistent = dynamic_cast<TPersistent*>(Copy)) {
    try {
      Persistent->Assign(dynamic_cast<TPersistent*>(Original));
    } catch (...) {
      delete Copy;
      throw;
    }
  }
  return Copy;
}

void TKBValue::Assign(TPersistent* Source) {
  const auto* Value = ObjectAs<TKBValue>(Source);
  if (!Value) {
    TPersistent::Assign(Source);
    return;
  }
  if (Value == this) return;
  if (Value->IsOwningObject()) {
    TObject* Copy = CopyOwnedObject(*Value);
    Reset();
    SetAsOwnedObject(Copy);
  } else {
    Reset();
    CopyCell(*Value);
    WatchObject();
  }
  SetTag(Value->GetTag());
  Changed();
}

void TKBValue::Assign(const IInterface& Source) {
  const IKBValue Value = Source.As<TKBValue>();
  if (!Value) throw EKBException(_SUnknownValueInterface);
  if (Value.get() == this) return;
  // Whatever can fail is done before this value is touched.
  IValueVector List;
  TObject* OwnedCopy = nullptr;
  if (Value->FKBType == dtList) {
    if (const IValueVector Items = Value->GetAsList()) List = Items->Clone();
  } else if (Value->FKBType == dtObject && Value->IsOwningObject()) {
    OwnedCopy = CopyOwnedObject(*Value);
  }
  Reset();
  SetTag(Value->GetTag());
  if (OwnedCopy) {
    SetAsOwnedObject(OwnedCopy);
  } else if (List) {
    FKBType = dtList;
    FValue.VInterface = IInterface(std::move(List)).detach();
  } else {
    CopyCell(*Value);
    WatchObject();
  }
  Changed();
}

void TKBValue::AssignTo(const IKBValue& Target) const {
  if (!Target || Target.get() == this) return;
  TKBValue& T = *Target;
  switch (FKBType) {
    case dtNone:
      T.Reset();
      break;
    case dtAtom:
      T.SetAsAtom(std::string(GetText()));
      break;
    case dtString:
      T.SetAsString(std::string(GetText()));
      break;
    case dtVariable:
      T.SetAsVariable(std::string(GetText()));
      break;
    case dtMultiVariable:
      T.SetAsMultiVariable(std::string(GetText()));
      break;
    case dtSlot:
      T.SetAsSlot(std::string(GetText()));
      break;
    case dtMultiSlot:
      T.SetAsMultiSlot(std::string(GetText()));
      break;
    case dtInteger:
      T.SetAsInteger(static_cast<std::int32_t>(FValue.VInteger));
      break;
    case dtFactId:
      T.SetAsFactId(static_cast<std::int32_t>(FValue.VInteger));
      break;
    case dtDescriptor:
      T.SetAsDescriptor(static_cast<std::int32_t>(FValue.VInteger));
      break;
    case dtFloat:
      T.SetAsFloat(FValue.VExtended);
      break;
    case dtFunCall:
      T.SetAsFunCall(GetAsFunCall());
      break;
    case dtFact:
      T.SetAsFact(GetAsFact());
      break;
    case dtList:
      T.SetAsList(GetAsList()->Clone());
      break;
    case dtObject:
      if (IsOwningObject())
        T.SetAsOwnedObject(CopyOwnedObject(*this));
      else
        T.SetAsObject(GetAsObject());
      break;
    case dtClass:
      T.SetAsClass(GetAsClass());
      break;
    case dtExternalAddress:
      T.SetAsExternalAddress(GetAsExternalAddress());
      break;
    case dtSingletons:
      T.SetAsSingletons(GetAsSingletons());
      break;
    case dtFuzzy:
      T.SetAsFuzzy(GetAsFuzzy());
      break;
  }
}

IKBValue TKBValue::Clone() const {
  IKBValue Result(new TKBValue());
  Result->Assign(const_cast<TKBValue*>(this));
  return Result;
}

IInterface TKBValue::CloneInterface() const { return Clone(); }

// ---------------------------------------------------------------- text

std::string TKBValue::GetToString() const {
  switch (FKBType) {
    case dtNone:
      return {};
    case dtAtom:
    case dtSlot:
    case dtMultiSlot:
      return std::string(GetText());
    case dtString:
      return QuoteString(GetText());
    case dtInteger:
      return IntToStr(static_cast<std::int32_t>(FValue.VInteger));
    case dtVariable:
      return "?" + std::string(GetText());
    case dtMultiVariable:
      return "$?" + std::string(GetText());
    case dtFactId:
      return "<Fact-" + IntToStr(static_cast<std::int32_t>(FValue.VInteger)) + ">";
    case dtFloat:
      return FloatText(FValue.VExtended);
    case dtFunCall:
      return GetAsFunCall()->ToString();
    case dtFact:
      return GetAsFact()->ToString();
    case dtList:
      return GetAsList()->ToString();
    case dtDescriptor:
      return "<UNKNOWN>";
    case dtObject: {
      const TObject* Object = CellPointer<TObject>(FValue.VInteger);
      if (!Object) return {};
      if (const auto* Info = dynamic_cast<const TBindingInfo*>(Object))
        return "<" + Info->ClassName() + ": " + Info->ToString() + ">";
      return "<Object: " + Object->ClassName() + ">";
    }
    case dtClass: {
      const TMetaClass* Class = CellPointer<const TMetaClass>(FValue.VInteger);
      return Class ? Class->ClassName() : std::string();
    }
    case dtExternalAddress:
      return "<External-Address: " + IntToStr(IntegerInPlace()) + ">";
    case dtSingletons:
      return GetAsSingletons()->ToString();
    case dtFuzzy:
      return GetAsString();
  }
  return {};
}

// ---------------------------------------------------------------- resolution

IKBValue TKBValue::Resolve(TObject* Context) {
  if (StandsForItself(FKBType)) return Self();
  switch (FKBType) {
    case dtVariable:
    case dtMultiVariable: {
      const auto* KBContext = ObjectAs<TKBContext>(Context);
      if (!KBContext) throw EKBException(Format(_SNoContext, GetKBTypeName(FKBType)));
      const TKBName Name(GetText());
      const TBinding* Binding = KBContext->FindBinding(Name);
      if (!Binding || !Binding->GetValue()) throw EKBException(Format(_SCorruptedVariable, Name));
      return Binding->GetValue();
    }
    case dtObject: {
      const auto* Info = ObjectAs<TBindingInfo>(CellPointer<TObject>(FValue.VInteger));
      if (!Info) return Self();
      const auto* KBContext = ObjectAs<TKBContext>(Context);
      if (!KBContext) throw EKBException(Format(_SNoContext, GetKBTypeName(FKBType)));
      // The fact past the token's last one is the fact under test.
      const IReteToken& Token = KBContext->GetToken();
      const int FactCount = Token ? Token->GetCount() : 0;
      IFact Fact;
      if (Info->GetFactIndex() == FactCount && KBContext->GetFact())
        Fact = KBContext->GetFact();
      else if (Token)
        Fact = Token->GetFacts(Info->GetFactIndex());
      if (!Fact) throw EListError(Format(SListIndexError, Info->GetFactIndex()));
      if (Info->IsFactAddress()) return IKBValue(new TKBValue(Fact->GetID(), dtFactId));
      const IKBValue SlotValue = Fact->GetValue(Info->GetSlotRef());
      if (Info->GetSubIndex() == NoSubIndex) return SlotValue;
      return SlotValue->GetAsList()->Get(Info->GetSubIndex());
    }
    case dtFunCall:
      return GetAsFunCall()->Execute(Context);
    case dtSingletons: {
      const ISingletonsVector Singletons = GetAsSingletons();
      Ref<TKBFuzzySet> FuzzySet(new TKBFuzzySet(nullptr, std::string()));
      if (auto* Variable = dynamic_cast<TFuzzyVariable*>(Singletons->GetParser())) FuzzySet->SetVariable(Variable);
      {
        const auto Update = UpdateGuard(*FuzzySet);
        for (int I = 0; I < Singletons->GetCount(); ++I) {
          const double X = Singletons->GetXValues(I)->Resolve(Context)->GetAsNumeric();
          const double Y = Singletons->GetYValues(I)->Resolve(Context)->GetAsNumeric();
          FuzzySet->AddPoint(X, Y);
        }
        FuzzySet->SetName(FuzzySet->ToString());
      }
      return IKBValue(new TKBValue(IFuzzySet(FuzzySet)));
    }
    default:
      return Self();
  }
}

// ---------------------------------------------------------------- TValueVector

void TValueVector::Append(const IValueVector& Other) {
  if (!Other) return;
  const int Count = Other->GetCount();  // Other may be this vector
  for (int I = 0; I < Count; ++I) Add(Other->Get(I));
}

namespace {
// Pairwise by index: two nils agree, one nil doesn't, values by Equals.
bool SameItems(const TValueVector& A, const TValueVector& B) {
  const int Count = A.GetCount();
  if (Count != B.GetCount()) return false;
  for (int I = 0; I < Count; ++I) {
    const IKBValue& X = A.GetRef(I);
    const IKBValue& Y = B.GetRef(I);
    if (!X || !Y) {
      if (X || Y) return false;
    } else if (!X->Equals(Y)) {
      return false;
    }
  }
  return true;
}
}  // namespace

bool TValueVector::Equals(const IValueVector& Other) const {
  if (!Other) return false;
  return Other.get() == this || SameItems(*this, *Other);
}

bool TValueVector::Equals(const IInterface& Other) const {
  const IValueVector Vector = Other.As<TValueVector>();
  return Vector && Equals(Vector);
}

bool TValueVector::Equals(const TObject* Other) const {
  if (Other == this) return true;
  const auto* List = dynamic_cast<const TValueVector*>(Other);
  return List && SameItems(*this, *List);
}

std::string TValueVector::ToString() const {
  std::string Result;
  for (const IKBValue& Item : *this) {
    if (Item) Result += Item->GetToString();
    Result += ' ';
  }
  return Result;
}

std::int32_t TValueVector::GetHashCode() const {
  std::uint32_t Sum = 0;
  for (const IKBValue& Item : *this)
    if (Item) Sum += static_cast<std::uint32_t>(Item->GetHashCode());
  return static_cast<std::int32_t>(Sum);
}

IValueVector TValueVector::Clone() const {
  IValueVector Result(new TValueVector());
  Result->Assign(IInterface(IValueVector(const_cast<TValueVector*>(this))));
  return Result;
}

IInterface TValueVector::CloneInterface() const { return Clone(); }

void TValueVector::Assign(const IInterface& Source) {
  const IValueVector Vector = Source.As<TValueVector>();
  if (!Vector) throw EKBException(_SUnknownValueInterface);
  if (Vector.get() == this) return;
  Clear();
  for (const IKBValue& Item : *Vector) Add(Item ? Item->Clone() : IKBValue());
  SetTag(Vector->GetTag());
}

void TValueVector::Assign(TPersistent* Source) {
  throw EKBException(Format(SAssignError, Source ? Source->ClassName() : std::string("nil"), ClassName()));
}

// ---------------------------------------------------------------- TSingletonsVector

TSingletonsVector::TSingletonsVector(ISingletonsParser* AParser)
    : FXItems(new TValueVector()), FYItems(new TValueVector()), FParser(AParser) {}

int TSingletonsVector::Add(const IKBValue& X, const IKBValue& Y) {
  FXItems->Add(X);
  return FYItems->Add(Y);
}

void TSingletonsVector::Clear() {
  FXItems->Clear();
  FYItems->Clear();
}

void TSingletonsVector::Delete(int Index) {
  FXItems->Delete(Index);
  FYItems->Delete(Index);
}

void TSingletonsVector::Insert(int Index, const IKBValue& X, const IKBValue& Y) {
  FXItems->Insert(Index, X);
  FYItems->Insert(Index, Y);
}

void TSingletonsVector::Append(const ISingletonsVector& Other) {
  if (!Other) return;
  const int Count = Other->GetCount();
  for (int I = 0; I < Count; ++I) Add(Other->GetXValues(I), Other->GetYValues(I));
}

bool TSingletonsVector::Equals(const ISingletonsVector& Other) const {
  if (!Other) return false;
  return FXItems->Equals(Other->FXItems) && FYItems->Equals(Other->FYItems);
}

bool TSingletonsVector::Equals(const IInterface& Other) const {
  const ISingletonsVector Vector = Other.As<TSingletonsVector>();
  return Vector && Equals(Vector);
}

std::string TSingletonsVector::ToString() const {
  if (FParser) return FParser->PrettyPrint(ISingletonsVector(const_cast<TSingletonsVector*>(this)));
  std::string Result;
  for (int I = 0; I < GetCount(); ++I) {
    const IKBValue X = GetXValues(I);
    const IKBValue Y = GetYValues(I);
    Result += "(" + (X ? X->GetToString() : std::string()) + " " + (Y ? Y->GetToString() : std::string()) + ") ";
  }
  return Result;
}

std::int32_t TSingletonsVector::GetHashCode() const {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(FXItems->GetHashCode()) +
                                   static_cast<std::uint32_t>(FYItems->GetHashCode()));
}

ISingletonsVector TSingletonsVector::Clone() const {
  ISingletonsVector Result(new TSingletonsVector(FParser));
  Result->Assign(const_cast<TSingletonsVector*>(this));
  return Result;
}

IInterface TSingletonsVector::CloneInterface() const { return Clone(); }

void TSingletonsVector::AssignPairs(const TSingletonsVector& Source) {
  if (&Source == this) return;
  Clear();
  for (int I = 0; I < Source.GetCount(); ++I) {
    const IKBValue X = Source.GetXValues(I);
    const IKBValue Y = Source.GetYValues(I);
    Add(X ? X->Clone() : IKBValue(), Y ? Y->Clone() : IKBValue());
  }
  FParser = Source.FParser;
  FTag = Source.FTag;
}

void TSingletonsVector::Assign(const IInterface& Source) {
  const ISingletonsVector Vector = Source.As<TSingletonsVector>();
  if (!Vector) throw EKBException(_SUnknownValueInterface);
  AssignPairs(*Vector);
}

void TSingletonsVector::Assign(TPersistent* Source) {
  if (auto* Vector = dynamic_cast<TSingletonsVector*>(Source))
    AssignPairs(*Vector);
  else
    TBugPersistent::Assign(Source);
}

// ---------------------------------------------------------------- constants

IKBValue FCTrue;
IKBValue FCFalse;
IKBValue FCEmptyString;
IKBValue FCNil;
IKBValue FCNilList;
IKBValue FCCatch;
IKBValue FCFinally;
IKBValue FCExcept;
IKBValue FCElse;
IKBValue FCDo;
IKBValue FCEOF;
IKBValue FCThen;
IKBValue FCPI;
IKBValue FCZero;
IKBValue FCPopFocus;

namespace {
int ConstantsInitCount = 0;

IKBValue Atom(const char* Text) { return IKBValue(new TKBValue(std::string(Text), dtAtom)); }
}  // namespace

TKBValueConstantsInit::TKBValueConstantsInit() {
  if (ConstantsInitCount++ != 0) return;
  FCTrue = Atom("TRUE");
  FCFalse = Atom("FALSE");
  FCEmptyString = Atom("");
  FCNil = Atom("");
  FCNilList = IKBValue(new TKBValue(IValueVector(new TValueVector())));
  FCCatch = Atom("catch");
  FCFinally = Atom("finally");
  FCExcept = Atom("except");
  FCElse = Atom("else");
  FCDo = Atom("do");
  FCEOF = Atom("EOF");
  FCThen = Atom("then");
  FCPI = IKBValue(new TKBValue(3.141592653589793));
  FCZero = IKBValue(new TKBValue(0.0));
  FCPopFocus = Atom("pop-focus");
}

TKBValueConstantsInit::~TKBValueConstantsInit() {
  if (--ConstantsInitCount != 0) return;
  for (IKBValue* Constant : {&FCTrue, &FCFalse, &FCEmptyString, &FCNil, &FCNilList, &FCCatch, &FCFinally, &FCExcept,
                             &FCElse, &FCDo, &FCEOF, &FCThen, &FCPI, &FCZero, &FCPopFocus})
    Constant->reset();
}

bool IsValueConstant(const IKBValue& Value) noexcept {
  if (!Value) return false;
  for (const IKBValue* Constant : {&FCTrue, &FCFalse, &FCEmptyString, &FCNil, &FCNilList, &FCCatch, &FCFinally,
                                   &FCExcept, &FCElse, &FCDo, &FCEOF, &FCThen, &FCPI, &FCZero})
    if (Constant->get() == Value.get()) return true;
  return false;
}

}  // namespace cogent
