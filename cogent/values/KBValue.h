#pragma once
// The one typed value of the engine, its list companions and the process-wide
// constant values.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "cogent/common/VXCommon.h"
#include "cogent/common/VXInterfaceList.h"
#include "cogent/foundation/KBConsts.h"
#include "cogent/foundation/KBInterfaces.h"
#include "cogent/fuzzy/VXFuzzyLogic.h"
#include "cogent/host/Pool.h"

namespace cogent {

class TBugPersistent : public TPersistent {};

// The view of the engine (or of a fuzzy variable) that reads and prints
// singleton vectors.
class ISingletonsParser {
public:
  virtual ISingletonsVector ParseSingletons(const std::string& Text) = 0;
  virtual std::string PrettyPrint(const ISingletonsVector& Singletons) = 0;

protected:
  ~ISingletonsParser() = default;
};

// Hears the removal of the component that a value holds: one it owns, or
// one it only borrows, which it lets go of so that it never dangles.
class TKBValueNexus : public TComponent {
public:
  TKBValueNexus(TKBValue* AKBValue, bool AOwns) : TComponent(nullptr), FKBValue(AKBValue), FOwns(AOwns) {}
  bool GetOwns() const noexcept { return FOwns; }

protected:
  void Notification(TComponent* AComponent, TOperation Operation) override;

private:
  TKBValue* FKBValue;
  bool FOwns;
};

using TKBValueChangeEvent = std::function<void(const IKBValue& Value)>;

// Tags of the objects that working memory holds by the million (facts,
// lists), which seldom carry one: kept by address in one table, so that the
// objects keep no field for them. Setting 0 takes the entry out; an object
// that has one takes it out before it goes.
std::intptr_t FindSideTag(const void* Object) noexcept;
void SetSideTag(const void* Object, std::intptr_t Value);
// False while no object has a tag: an object that keeps no mark of its own
// asks before it looks.
bool AnySideTags() noexcept;

// The text of a string, symbol, variable or slot value: immutable, counted
// and shared by the copies of a value, with its hash worked out once.
class TKBText {
public:
  static TKBText* Make(std::string_view Text);
  void AddRef() noexcept { FRefCount.fetch_add(1, std::memory_order_relaxed); }
  void Release() noexcept {
    if (FRefCount.fetch_sub(1, std::memory_order_acq_rel) == 1) ::operator delete(this);
  }
  std::string_view View() const noexcept { return {FData, FLength}; }
  std::int32_t GetHash() const noexcept { return FHash; }

private:
  TKBText(std::string_view Text, std::int32_t Hash) noexcept;
  std::atomic<std::int32_t> FRefCount{1};
  std::int32_t FHash;
  std::size_t FLength;
  char FData[1];
};

// What few values carry: a tag, the watch over a held component and the
// change event. Made on first use.
struct TKBValueExtra {
  std::intptr_t Tag = 0;
  // Present while the value owns its object or watches a borrowed component.
  std::unique_ptr<TKBValueNexus> Nexus;
  TKBValueChangeEvent OnChange;
};

// The store: one cell read through the member that the value's kind names.
// Integers and plain pointers are in VInteger, floats in VExtended, texts
// and counted interfaces are held references.
union TKBValueRec {
  std::intptr_t VInteger = 0;
  double VExtended;
  TKBText* VText;
  TRefCounted* VInterface;
};

// A value is mutable and retyped by each setter. It lives on the heap and dies
// with its last reference, so its destructor is protected. It offers what
// ICloneable asks without deriving from it: a fact holds a value per slot,
// and one more table pointer in each would cost a fifth of the value.
class TKBValue : public TBugPersistent {
public:
  COGENT_POOLED(TKBValue)

  TKBValue() = default;
  TKBValue(const TKBValue&) = delete;
  TKBValue& operator=(const TKBValue&) = delete;
  explicit TKBValue(TPersistentClass AClass);
  // AType must be dtInteger, dtFactId or dtDescriptor.
  TKBValue(std::int32_t AValue, TKBType AType) {
    if (!KBIntegerTypes.Contains(AType)) [[unlikely]]
      InvalidValueType();
    FKBType = AType;
    FValue.VInteger = AValue;
  }
  // AType must be dtAtom, dtString, dtVariable, dtMultiVariable, dtSlot or dtMultiSlot.
  TKBValue(const std::string& AValue, TKBType AType);
  TKBValue(const char* AValue, TKBType AType) : TKBValue(std::string(AValue), AType) {}
  explicit TKBValue(const IValueVector& AValue);  // shared, not copied
  explicit TKBValue(const IKBValue& AValue);      // a copy through Assign
  explicit TKBValue(const IFuzzySet& AValue);
  explicit TKBValue(const IFact& AValue);
  explicit TKBValue(const IFunCall& AValue);
  explicit TKBValue(const ISingletonsVector& AValue);
  TKBValue(TObject* AObject, bool Owned);
  explicit TKBValue(double AValue);

  // ------------------------------------------------------------ state
  TKBType GetDType() const noexcept { return FKBType; }
  bool IsOwningObject() const noexcept { return FKBType == dtObject && GetNexus() && GetNexus()->GetOwns(); }
  const TKBValueChangeEvent& GetOnChange() const noexcept;
  void SetOnChange(TKBValueChangeEvent Value);
  std::intptr_t GetTag() const noexcept;
  void SetTag(std::intptr_t Value);

  // ------------------------------------------------------------ getters
  // Each converts where it can and raises _SNotCorrectType where it can't;
  // none changes the value.
  std::string GetAsString() const;
  // The text of a string, symbol, variable or slot value, without a copy;
  // empty for other kinds.
  std::string_view GetText() const noexcept;
  std::string GetAsAtom() const { return GetAsString(); }
  std::string GetAsVariable() const { return GetAsString(); }
  std::string GetAsMultiVariable() const { return GetAsString(); }
  std::string GetAsSlot() const { return GetAsString(); }
  std::string GetAsMultiSlot() const { return GetAsString(); }
  std::int32_t GetAsInteger() const {
    // The kind read most, in line.
    return FKBType == dtInteger ? IntegerInPlace() : IntegerOfOtherKinds();
  }
  double GetAsFloat() const;
  double GetAsNumeric() const { return GetAsFloat(); }
  std::int32_t GetAsFactId() const;
  std::int32_t GetAsDescriptor() const;
  void* GetAsExternalAddress() const;
  IFact GetAsFact() const;
  IFunCall GetAsFunCall() const;
  IValueVector GetAsList() const;
  // The list of a multifield without a count of its own, for readers that
  // hold the value meanwhile; nil for other kinds.
  const TValueVector* GetListInPlace() const noexcept;
  TObject* GetAsObject() const;
  TObject* GetAsOwnedObject() const;
  TPersistentClass GetAsClass() const;
  IFuzzySet GetAsFuzzy() const;
  ISingletonsVector GetAsSingletons() const;

  // ------------------------------------------------------------ setters
  // Each runs Changing, retypes, stores and runs Changed; none converts.
  virtual void SetAsAtom(const std::string& Value);
  virtual void SetAsClass(TPersistentClass Value);
  virtual void SetAsDescriptor(std::int32_t Value);
  virtual void SetAsExternalAddress(void* Value);
  virtual void SetAsFactId(std::int32_t Value);
  virtual void SetAsFact(const IFact& Value);
  virtual void SetAsFloat(double Value);
  virtual void SetAsFunCall(const IFunCall& Value);
  virtual void SetAsFuzzy(const IFuzzySet& Value);
  virtual void SetAsInteger(std::int32_t Value);
  virtual void SetAsList(const IValueVector& Value);
  virtual void SetAsMultiSlot(const std::string& Value);
  virtual void SetAsMultiVariable(const std::string& Value);
  virtual void SetAsObject(TObject* Value);
  virtual void SetAsSlot(const std::string& Value);
  virtual void SetAsSingletons(const ISingletonsVector& Value);
  virtual void SetAsString(const std::string& Value);
  // Owns Value when it is a component; any other object is only borrowed.
  virtual void SetAsOwnedObject(TObject* Value);
  virtual void SetAsVariable(const std::string& Value);
  // Empties the value without an OnChange.
  virtual void Reset();

  // ------------------------------------------------------------ comparison
  // Strict: same kind and same content; floats compare by SameFloat. Values
  // that are equal hash alike, except fuzzy sets, whose equality is a degree
  // of membership (a fact leaves its fuzzy slots out of both).
  virtual bool Equals(const IKBValue& Other) const;
  bool Equals(const IInterface& Other) const;
  // Loose: Other is read through this value's kind; a refused conversion raises.
  virtual bool EqualsStar(const IKBValue& Other) const;
  std::int32_t GetHashCode() const {
    // The kinds facts hold most, in line.
    if (FKBType == dtInteger) return IntegerInPlace();
    if (FKBType == dtAtom) return FValue.VText->GetHash();
    return HashOtherKinds();
  }

  // ------------------------------------------------------------ copying
  void Assign(TPersistent* Source) override;
  void Assign(const IInterface& Source);
  // Writes this value into Target through Target's own setters.
  void AssignTo(const IKBValue& Target) const;
  IKBValue Clone() const;
  IInterface CloneInterface() const;

  // ------------------------------------------------------------ text and resolution
  virtual std::string GetToString() const;
  std::string ToString() const override { return GetToString(); }
  // The value this value stands for in Context (a TKBContext where one is
  // needed); this value itself for constants.
  virtual IKBValue Resolve(TObject* Context);
  // The kinds whose values Resolve gives back as they stand, so that a caller
  // may skip the call: all but variables, objects (a slot binding is one),
  // calls and singletons.
  static constexpr bool StandsForItself(TKBType Type) noexcept {
    return Type != dtVariable && Type != dtMultiVariable && Type != dtObject && Type != dtFunCall &&
           Type != dtSingletons;
  }

  virtual void Notification(TComponent* AComponent, TOperation Operation);

protected:
  ~TKBValue() override;
  virtual void Changing(TKBType NewType);
  virtual void Changed();

private:
  [[noreturn]] void TypeError(const char* Label) const;
  [[noreturn]] static void InvalidValueType();
  std::int32_t HashOtherKinds() const;
  // The low 32 bits of the cell, which is an integer's value and its hash.
  std::int32_t IntegerInPlace() const noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(FValue.VInteger));
  }
  std::int32_t IntegerOfOtherKinds() const;
  void StoreString(TKBType AType, const std::string& Value);
  void StoreInteger(TKBType AType, std::intptr_t Value);
  void StoreInterface(TKBType AType, IInterface Value);
  // The cell of Source's kind copied into this empty value, sharing its
  // text or interface.
  void CopyCell(const TKBValue& Source) noexcept;
  // Lets go of a held text or interface; the cell is left 0.
  void ReleaseCell() noexcept;
  TKBValueNexus* GetNexus() const noexcept;
  std::unique_ptr<TKBValueNexus>& NexusSlot();
  // The side block, made on first use; FindExtra gives nil where there is none.
  TKBValueExtra& Extra();
  TKBValueExtra* FindExtra() const noexcept;
  template <class T>
  Ref<T> Interface() const noexcept;
  // The owned component of Source copied into a new component of its class.
  TObject* CopyOwnedObject(const TKBValue& Source) const;
  // Gives up ownership of Object, if it is the owned one, without freeing it.
  void Disown(TObject* Object);
  // A borrowed component is watched: when it is freed, by whoever, the
  // value holds nil instead.
  void WatchObject();
  IKBValue Self() const { return IKBValue(const_cast<TKBValue*>(this)); }

  // The kind and the mark of a side block fill the gap after the reference
  // count: a value is 24 bytes. The side block lives in a table of its own,
  // keyed by the value, which only the few values that use it pay for.
  TKBType FKBType = dtNone;
  bool FHasExtra = false;
  TKBValueRec FValue;
};

// Floats are equal when they agree to four decimal places, that is when
// x * 10^4 rounds to the same integer: 0.1 + 0.2 equals 0.3, 1.00004 equals
// 1.0, but 1.00006 does not. Unlike a tolerance this is an equivalence, so
// equal floats always hash alike. Beyond 10^11 a float is compared as it is;
// all NaNs are one value, and -0.0 is 0.0.
bool SameFloat(double A, double B) noexcept;

// A single or multifield variable.
inline bool IsVariable(const IKBValue& Value) noexcept {
  return Value && (Value->GetDType() == dtVariable || Value->GetDType() == dtMultiVariable);
}
std::int32_t FloatHash(double Value) noexcept;

// ---------------------------------------------------------------- TValueVector

// The list behind a multifield. Add and Append share value objects; only
// Clone and Assign copy them.
class TValueVector : public TInterfaceListPersistent<TKBValue, pool::TAllocator<IKBValue>>, public ICloneable {
public:
  COGENT_POOLED(TValueVector)

  TValueVector() = default;

  int GetValueCount() const { return GetCount(); }
  void Append(const IValueVector& Other);
  // Order-sensitive.
  bool Equals(const IValueVector& Other) const;
  bool Equals(const IInterface& Other) const override;
  bool Equals(const TObject* Other) const;
  // Each item's printed form followed by one blank.
  std::string ToString() const override;
  // Wrapping sum of the items' hashes, so it ignores order.
  std::int32_t GetHashCode() const;

  IValueVector Clone() const;
  IInterface CloneInterface() const override;
  // Clears, then adds a clone of each item of Source.
  void Assign(const IInterface& Source) override;
  // Refused: a vector is copied only through the interface.
  void Assign(TPersistent* Source) override;
  // In the side table: a list has no room of its own for a tag.
  std::intptr_t GetTag() const override { return AnySideTags() ? FindSideTag(this) : 0; }
  void SetTag(std::intptr_t Value) override {
    if (Value || AnySideTags()) SetSideTag(this, Value);
  }

protected:
  ~TValueVector() override {
    if (AnySideTags()) SetSideTag(this, 0);
  }
};

inline const TValueVector* TKBValue::GetListInPlace() const noexcept {
  return FKBType == dtList ? static_cast<const TValueVector*>(FValue.VInterface) : nullptr;
}

// ---------------------------------------------------------------- TSingletonsVector

// Paired x and y lists: the points of a fuzzy value as written, before they
// are resolved.
class TSingletonsVector : public TBugPersistent, public ICloneable {
public:
  explicit TSingletonsVector(ISingletonsParser* AParser = nullptr);

  int GetCount() const { return FXItems->GetCount(); }
  IKBValue GetXValues(int Index) const { return FXItems->Get(Index); }
  void SetXValues(int Index, const IKBValue& Value) { FXItems->Put(Index, Value); }
  IKBValue GetYValues(int Index) const { return FYItems->Get(Index); }
  void SetYValues(int Index, const IKBValue& Value) { FYItems->Put(Index, Value); }
  virtual int Add(const IKBValue& X, const IKBValue& Y);
  virtual void Clear();
  virtual void Delete(int Index);
  void Insert(int Index, const IKBValue& X, const IKBValue& Y);
  int IndexOfX(const IKBValue& Value) const { return FXItems->IndexOf(Value); }
  int IndexOfY(const IKBValue& Value) const { return FYItems->IndexOf(Value); }
  void Append(const ISingletonsVector& Other);
  ISingletonsParser* GetParser() const noexcept { return FParser; }
  void SetParser(ISingletonsParser* Value) noexcept { FParser = Value; }

  virtual bool Equals(const ISingletonsVector& Other) const;
  bool Equals(const IInterface& Other) const override;
  std::string ToString() const override;
  std::int32_t GetHashCode() const;

  ISingletonsVector Clone() const;
  IInterface CloneInterface() const override;
  void Assign(const IInterface& Source) override;
  void Assign(TPersistent* Source) override;
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

protected:
  ~TSingletonsVector() override = default;

private:
  void AssignPairs(const TSingletonsVector& Source);

  std::intptr_t FTag = 0;
  IValueVector FXItems;
  IValueVector FYItems;
  ISingletonsParser* FParser = nullptr;
};

// ---------------------------------------------------------------- constants

// Shared, never changed; made before the first use by any unit that includes
// this header and released after the last.
extern IKBValue FCTrue;
extern IKBValue FCFalse;
extern IKBValue FCEmptyString;
extern IKBValue FCNil;
extern IKBValue FCNilList;
extern IKBValue FCCatch;
extern IKBValue FCFinally;
extern IKBValue FCExcept;
extern IKBValue FCElse;
extern IKBValue FCDo;
extern IKBValue FCEOF;
extern IKBValue FCThen;
extern IKBValue FCPI;
extern IKBValue FCZero;
extern IKBValue FCPopFocus;

// True when Value is one of the shared constants FCTrue to FCZero, which code
// must never change in place.
bool IsValueConstant(const IKBValue& Value) noexcept;

// Start-up counter: the first instance makes the constants, the last one
// releases them.
class TKBValueConstantsInit {
public:
  TKBValueConstantsInit();
  ~TKBValueConstantsInit();
  TKBValueConstantsInit(const TKBValueConstantsInit&) = delete;
  TKBValueConstantsInit& operator=(const TKBValueConstantsInit&) = delete;
};
static const TKBValueConstantsInit KBValueConstantsInit;

}  // namespace cogent
