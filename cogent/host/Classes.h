#pragma once
// The host's object model above TObject: TPersistent, TComponent with
// ownership and free notification, events and TStrings.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cogent/host/RefCounted.h"
#include "cogent/host/Sets.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

class TPersistent;
class TFiler;
class TComponent;

using TNotifyEvent = std::function<void(TObject* Sender)>;

// ---------------------------------------------------------------- TPersistent

// Every persistent carries a reference count, in the word its table
// pointer leaves free, so that a counted family has one table pointer, not
// two. Only the counted families are ever held by Ref; the others are owned.
class TPersistent : public TRefCounted {
public:
  // Copies Source into this object. The base asks Source to AssignTo this
  // object and raises EConvertError SAssignError when nobody knows how.
  virtual void Assign(TPersistent* Source);
  // The properties an object keeps in a component stream beyond its
  // published ones (cogent/host/ComponentStreams.h); the base has none.
  virtual void DefineProperties(TFiler& Filer);

protected:
  virtual void AssignTo(TPersistent* Dest);
  [[noreturn]] void AssignError(TPersistent* Source);
};

// ---------------------------------------------------------------- TComponent

enum TOperation : std::uint8_t { opInsert, opRemove };

enum TComponentStateItem : std::uint8_t {
  csLoading,
  csReading,
  csWriting,
  csDestroying,
  csDesigning,
  csAncestor,
  csUpdating,
  csFixups,
  csFreeNotification,
  csInline,
  csDesignInstance
};
using TComponentState = TSet<TComponentStateItem>;

// A component is owned by its owner, which destroys it when it goes, and
// tells the components that asked for it (FreeNotification) of its removal.
// Notification(C, opRemove) reaches the owner and the free-notification
// list while C is being destroyed (its state holds csDestroying).
//
// Destruction: Destroying() (csDestroying on the component and all it owns);
// each free-notification partner, last first, is unlinked and then told
// Notification(this, opRemove); the owned components are freed, last first
// (one that others watch is first removed with notification, the rest are
// just unlinked); then the owner removes it, which tells the owner and the
// owner's other components. Insertion tells the owner and all its components,
// the new one included, Notification(C, opInsert). A component that calls
// HearNoSiblings is left out of what its owner tells its components.
class TComponent : public TPersistent {
public:
  explicit TComponent(TComponent* AOwner);
  TComponent(const TComponent&) = delete;
  TComponent& operator=(const TComponent&) = delete;
  ~TComponent() override;

  TComponent* GetOwner() const noexcept { return FOwner; }
  int GetComponentCount() const noexcept { return static_cast<int>(FComponents.size()); }
  TComponent* GetComponent(int Index) const;
  int GetComponentIndex() const;
  TComponent* FindComponent(std::string_view AName) const;

  // Takes AComponent from its present owner. A component that would come to
  // own itself raises EInvalidOperation SComponentOwnerLoop.
  void InsertComponent(TComponent* AComponent);
  void RemoveComponent(TComponent* AComponent);
  // Frees every owned component, last first.
  void DestroyComponents();

  // Links both ways: whichever goes first tells the other. Asking again
  // changes nothing; a component being destroyed is never linked.
  void FreeNotification(TComponent* AComponent);
  void RemoveFreeNotification(TComponent* AComponent);

  const std::string& GetName() const noexcept { return FName; }
  virtual void SetName(const std::string& NewName);
  std::intptr_t GetTag() const noexcept { return FTag; }
  void SetTag(std::intptr_t Value) noexcept { FTag = Value; }

  TComponentState GetComponentState() const noexcept { return FComponentState; }
  void SetDesigning(bool Value);
  // Marks the component (and its owned components) as loading from a
  // component stream; EndLoading clears it and calls Loaded, on the owner
  // first, then on its components in order, each only if it was loading.
  void BeginLoading();
  void EndLoading();
  // Called by the derived destructor first, so that csDestroying holds while
  // the whole object is still alive; the base destructor calls it too.
  void Destroying();

protected:
  // For a component that learns of the components it cares for through
  // FreeNotification alone: it no longer hears of every sibling that comes
  // and goes, which in an owner of many components costs time in
  // proportion to them at each insertion and removal.
  void HearNoSiblings();
  // The base drops AComponent on opRemove from the free-notification links
  // and from the owned components; overrides call it.
  virtual void Notification(TComponent* AComponent, TOperation Operation);
  // The base clears csLoading.
  virtual void Loaded();
  friend class TComponentFriend;

private:
  void NotifyAll(TComponent* AComponent, TOperation Operation);

  TComponent* FOwner = nullptr;
  std::string FName;
  std::intptr_t FTag = 0;
  TComponentState FComponentState;
  std::vector<TComponent*> FComponents;
  // The owned components that hear of their siblings, in insertion order.
  std::vector<TComponent*> FListeners;
  std::vector<TComponent*> FFreeNotifies;
  bool FHearsSiblings = true;
};

// ---------------------------------------------------------------- TBasicAction

// A command that a host component carries out. Execute fires OnExecute and
// tells whether there was a handler to run.
class TBasicAction : public TComponent {
public:
  explicit TBasicAction(TComponent* AOwner) : TComponent(AOwner) {}
  virtual bool Execute() {
    if (!OnExecute) return false;
    OnExecute(this);
    return true;
  }

  TNotifyEvent OnExecute;
};

// Destroys a component (or any object) held by a plain pointer; nil is fine.
template <class T>
void FreeAndNil(T*& AObject) {
  T* Temp = AObject;
  AObject = nullptr;
  delete Temp;
}

// ---------------------------------------------------------------- TStrings

enum TDuplicates : std::uint8_t { dupIgnore, dupAccept, dupError };

// The host's abstract list of strings with an object beside each line.
class TStrings : public TPersistent {
public:
  virtual int GetCount() const = 0;
  virtual std::string Get(int Index) const = 0;
  virtual void Put(int Index, const std::string& S);
  virtual TObject* GetObject(int Index) const;
  virtual void PutObject(int Index, TObject* AObject);
  virtual void Clear() = 0;
  virtual void Delete(int Index) = 0;
  virtual void Insert(int Index, const std::string& S) = 0;
  virtual void InsertObject(int Index, const std::string& S, TObject* AObject);
  virtual int Add(const std::string& S);
  virtual int AddObject(const std::string& S, TObject* AObject);
  void Append(const std::string& S) { Add(S); }
  virtual void AddStrings(const TStrings& Strings);
  virtual void Exchange(int Index1, int Index2);
  virtual void Move(int CurIndex, int NewIndex);
  virtual int IndexOf(const std::string& S) const;
  int IndexOfObject(const TObject* AObject) const;
  int IndexOfName(const std::string& Name) const;

  // Lines joined, each followed by CR LF.
  virtual std::string GetText() const;
  // Splits at CR LF, LF or CR.
  virtual void SetText(const std::string& Value);
  // "Name=Value" lines.
  std::string GetNameAt(int Index) const;
  std::string GetValue(const std::string& Name) const;
  void SetValue(const std::string& Name, const std::string& Value);

  void BeginUpdate();
  void EndUpdate();
  int GetUpdateCount() const noexcept { return FUpdateCount; }

  void Assign(TPersistent* Source) override;
  bool Equals(const TStrings& Other) const;

protected:
  virtual void SetUpdateState(bool Updating);
  // Case-insensitive by default, as the host's lists compare.
  virtual int CompareStrings(const std::string& S1, const std::string& S2) const;
  [[noreturn]] static void ListError(const char* Msg, int Data);

private:
  int FUpdateCount = 0;
};

}  // namespace cogent
