#pragma once
// The function framework: the base of every function (TKBUserFunction), the
// compiled call (TFunctionCall), the package that groups functions and
// registers them with engines (TUserPackage), and the adapters that let a
// host object act as a function (TCustomUserFunction, TUserFunction,
// TKBInnerFunction).
//
// A function receives its arguments unevaluated; each function resolves the
// ones it wants, when it wants. That is what lets control forms be ordinary
// functions.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "cogent/facts/KBContext.h"
#include "cogent/foundation/VXCollectionBase.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TKBUserFunction;
class TUserPackage;
class TCustomReasonerOwner;
class TFunctionDataWriter;
class TFunctionDataReader;

// Sender is the function (or the component standing for it).
using TCallEvent = std::function<void(TObject* Sender, const IFunCall& FunCall, TKBContext* Context, IKBValue& Result)>;

// ---------------------------------------------------------------- TVXNotifyList

// A list without duplicates that reports each change to its owner: adding an
// item that is present gives its index and reports nothing; nil items are
// never reported. Removal is reported after the item has left the list.
template <class T>
class TVXNotifyList {
public:
  TVXNotifyList() = default;
  TVXNotifyList(const TVXNotifyList&) = delete;
  TVXNotifyList& operator=(const TVXNotifyList&) = delete;
  virtual ~TVXNotifyList() = default;

  int GetCount() const noexcept { return static_cast<int>(FItems.size()); }
  const T& Get(int Index) const {
    CheckIndex(Index);
    return FItems[static_cast<std::size_t>(Index)];
  }
  int IndexOf(const T& Item) const noexcept {
    for (std::size_t I = 0; I < FItems.size(); ++I)
      if (FItems[I] == Item) return static_cast<int>(I);
    return -1;
  }
  bool Contains(const T& Item) const noexcept { return IndexOf(Item) >= 0; }

  // The index of the item, or -1 when the owner turned it away.
  int Add(const T& Item) {
    const int Present = IndexOf(Item);
    if (Present >= 0) return Present;
    const T Added(Item);
    FItems.push_back(Added);
    if (Added) Notify(Added, cnAdded);
    return IndexOf(Added);
  }
  void Delete(int Index) {
    CheckIndex(Index);
    const T Item(FItems[static_cast<std::size_t>(Index)]);
    FItems.erase(FItems.begin() + Index);
    if (Item) Notify(Item, cnRemoved);
  }
  int Remove(const T& Item) {
    const int Index = IndexOf(Item);
    if (Index >= 0) Delete(Index);
    return Index;
  }
  T Extract(const T& Item) {
    const int Index = IndexOf(Item);
    if (Index < 0) return T();
    const T Result(FItems[static_cast<std::size_t>(Index)]);
    FItems.erase(FItems.begin() + Index);
    if (Result) Notify(Result, cnExtracted);
    return Result;
  }
  // The first item goes until none is left, so each removal is reported.
  void Clear() {
    while (!FItems.empty()) Delete(0);
  }
  // Clears the list and adds the source's items in order.
  void Assign(const TVXNotifyList& Source) {
    if (&Source == this) return;
    const std::vector<T> Items(Source.FItems);
    Clear();
    for (const T& Item : Items) Add(Item);
  }
  std::vector<T> ToArray() const { return FItems; }

protected:
  virtual void Notify(const T& Item, TCollectionNotification Action) {
    (void)Item;
    (void)Action;
  }
  // Takes the item out without a report, for an owner that turned it away.
  void Forget(const T& Item) {
    const int Index = IndexOf(Item);
    if (Index >= 0) FItems.erase(FItems.begin() + Index);
  }
  // Puts the item in without a report, for an owner that took it already.
  void Keep(const T& Item) {
    if (!Contains(Item)) FItems.push_back(Item);
  }

private:
  void CheckIndex(int Index) const {
    if (Index < 0 || Index >= GetCount()) throw EListError(Format(SListIndexError, Index));
  }

  std::vector<T> FItems;
};

// The reasoners that know a function; every change reaches the function.
class TBaseReasonerList : public TVXNotifyList<IReasoner*> {
public:
  explicit TBaseReasonerList(TKBUserFunction* AOwner) : FOwner(AOwner) {}

protected:
  void Notify(IReasoner* const& Item, TCollectionNotification Action) override;

private:
  friend class TKBUserFunction;
  TKBUserFunction* FOwner;
};

// The reasoners of a package (or another reasoner owner).
class TReasonerList : public TVXNotifyList<IReasoner*> {
public:
  explicit TReasonerList(TCustomReasonerOwner* AOwner) : FOwner(AOwner) {}

protected:
  void Notify(IReasoner* const& Item, TCollectionNotification Action) override;

private:
  TCustomReasonerOwner* FOwner;
};

// The functions of a package; every change reaches the package. A function
// that has not finished its construction does so as it enters.
class TUserFunctionList : public TVXNotifyList<IUserFunction> {
public:
  explicit TUserFunctionList(TUserPackage* APackage) : FPackage(APackage) {}

  int Add(const IUserFunction& Function);
  // The function names, each followed by CR LF.
  std::string ToString() const;

protected:
  void Notify(const IUserFunction& Item, TCollectionNotification Action) override;

private:
  TUserPackage* FPackage;
};

// ---------------------------------------------------------------- TKBUserFunction

// The base of every function. A function knows the reasoners (engines) that
// hold it and keeps itself registered with each of them under its present
// name. It lives by reference counting.
//
// A concrete class overrides InitMetaData (name, comment, argument string,
// limits) and the protected Call. InitMetaData runs at the end of
// construction, which C++ cannot reach from a base constructor: make
// functions with Create<T>(...), or add them to a package, which finishes
// them as they enter.
// The test a function makes of two numbers, where it is one of the ordering
// comparisons: the network runs such a test without the call.
enum class TNumericComparison : std::uint8_t { ncNone, ncLess, ncLessEqual, ncGreater, ncGreaterEqual };

class TKBUserFunction : public TPersistent {
public:
  static constexpr std::int32_t NoArgumentLimit = 2147483647;

  TKBUserFunction();
  explicit TKBUserFunction(const TKBName& AName);

  // A new function of class T, constructed and finished.
  template <class T, class... Args>
  static Ref<T> Create(Args&&... AArgs) {
    Ref<T> Result(new T(std::forward<Args>(AArgs)...));
    Result->AfterConstruction();
    return Result;
  }
  // Runs InitMetaData once; the caller must hold a reference.
  void AfterConstruction();
  bool GetConstructed() const noexcept { return FConstructed; }

  // ------------------------------------------------------------ reasoners
  // A reasoner that is present stays where it is. The function enters the
  // reasoner's table; the index is -1 when the reasoner turned it away.
  int AddReasoner(IReasoner* Reasoner);
  void ClearReasoners();
  void DeleteReasoner(int Index);
  void DeleteReasoner(IReasoner* Reasoner);
  int IndexOfReasoner(IReasoner* Reasoner) const noexcept { return FReasoners.IndexOf(Reasoner); }
  IReasoner* GetReasoner(int Index) const { return FReasoners.Get(Index); }
  int GetReasonerCount() const noexcept { return FReasoners.GetCount(); }

  // ------------------------------------------------------------ description
  const TKBName& GetFunctionName() const noexcept { return FFunctionName; }
  // A new name leaves every reasoner's table under the old name and enters
  // it under the new one; a refused entry puts the old name back.
  virtual void SetFunctionName(const TKBName& Value);
  const std::string& GetComment() const noexcept { return FComment; }
  void SetComment(const std::string& Value) { FComment = Value; }
  // The argument part of the syntax line, such as " <expression>*".
  const std::string& GetArgumentString() const noexcept { return FArgumentString; }
  virtual void SetArgumentString(const std::string& Value);
  // The limits never cross: the one set last wins.
  virtual std::int32_t GetMinArgumentCount() const { return FMinArgumentCount; }
  virtual void SetMinArgumentCount(std::int32_t Value);
  virtual std::int32_t GetMaxArgumentCount() const { return FMaxArgumentCount; }
  virtual void SetMaxArgumentCount(std::int32_t Value);
  // A deffunction written in the rule language.
  virtual bool IsInterpreted() const { return false; }
  // What a call of this function with two numbers tests; ncNone unless the
  // function is one of the built-in ordering comparisons.
  virtual TNumericComparison GetNumericComparison() const noexcept { return TNumericComparison::ncNone; }
  // The reasoner's description of this function.
  std::string ToString(IReasoner* Reasoner) const;
  using TPersistent::ToString;

  // ------------------------------------------------------------ calling
  // The checking entry: the argument count against the limits, then the
  // function's own Call. Context must be nil or a TKBContext.
  void Call(const IFunCall& FunCall, TObject* Context, IKBValue& Result);
  // The same for a caller whose context is one already.
  void Invoke(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result);

  // The work of a built-in function that needs nothing of its object, which
  // a compiled call reaches without the virtual Call and without holding the
  // function. Result is null when the caller drops the value, so that a
  // function whose result costs something to make may skip it.
  using TDirectEntry = void (*)(const IFunCall& FunCall, TKBContext* Context, IKBValue* Result);
  TDirectEntry GetDirectEntry() const noexcept { return FDirectEntry; }
  // Raises _STooFewArgs or _STooManyArgs for a count outside the limits.
  void CheckArgumentCount(int Count) const {
    if (Count < FMinArgumentCount || Count > FMaxArgumentCount) ArgumentCountError(Count);
  }

  // Copies limits and comment, then the name (through SetFunctionName).
  void Assign(TPersistent* Source) override;

  // The stream form in a package: name, comment, maximum, minimum.
  virtual void WriteData(TFunctionDataWriter& Writer) const;
  virtual void ReadData(TFunctionDataReader& Reader);

protected:
  ~TKBUserFunction() override;

  virtual void ReasonerNotification(IReasoner* Reasoner, TCollectionNotification Action);
  // The work of the function. The base clears Result; an override calls it
  // first, reads FunCall's arguments and resolves the ones it needs.
  virtual void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result);
  virtual void InitMetaData() {}
  // For InitMetaData of class T: an object of a class derived from T, which
  // may do its work differently, keeps going through Call.
  template <class T>
  void SetDirectEntry(TDirectEntry Entry) noexcept {
    if (typeid(*this) == typeid(T)) FDirectEntry = Entry;
  }

  std::int32_t FMinArgumentCount = 0;
  std::int32_t FMaxArgumentCount = NoArgumentLimit;
  std::string FComment;
  TKBName FFunctionName;
  std::string FArgumentString;

private:
  friend class TBaseReasonerList;
  // Enters Reasoner's table and keeps the reasoner only if the table now
  // holds this function, so a reasoner in the list always holds it.
  void Register(IReasoner* Reasoner);
  bool HeldBy(IReasoner* Reasoner) const;
  [[noreturn]] void ArgumentCountError(int Count) const;

  TBaseReasonerList FReasoners{this};
  TDirectEntry FDirectEntry = nullptr;
  bool FConstructed = false;
};

// ---------------------------------------------------------------- TInterpretedFunction

// A deffunction: parameters and a body of statements in the rule language,
// called like any other function. Calls in the body keep the functions they
// found, so a recursive function holds itself; it lets go of what its body
// found when it leaves its last reasoner, which ends such a cycle with the
// definition.
class TInterpretedFunction : public TKBUserFunction {
public:
  TInterpretedFunction() = default;
  explicit TInterpretedFunction(const TKBName& AName) : TKBUserFunction(AName) {}

  // Type is dtVariable (binds the argument at its position), dtMultiVariable
  // (a list of the arguments from its position on) or dtAtom (nil, taking no
  // argument); any other raises _SInvalidArgType.
  virtual void AddArgument(const std::string& Name, TKBType Type);
  virtual void AddStatement(const IFunCall& Statement);
  // The value itself, a constant or a variable as well as a call.
  virtual void AddStatement(const IKBValue& Statement);
  IKBValue GetStatements(int Index) const { return FStatements->Get(Index); }
  int GetStatementCount() const { return FStatements->GetCount(); }
  IKBValue GetArguments(int Index) const { return FArguments->Get(Index); }
  int GetArgumentCount() const { return FArguments->GetCount(); }
  // The rank of definition among the engine's deffunctions.
  std::int32_t GetOrder() const noexcept { return FOrder; }
  void SetOrder(std::int32_t Value) noexcept { FOrder = Value; }

  // What the parameters take; the call itself checks only the variables.
  std::int32_t GetMinArgumentCount() const override;
  std::int32_t GetMaxArgumentCount() const override;
  bool IsInterpreted() const override { return true; }
  // Calls the body without the framework's count check.
  virtual IKBValue Execute(const IFunCall& FunCall, TKBContext* Context);

protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;
  void ReasonerNotification(IReasoner* Reasoner, TCollectionNotification Action) override;

private:
  IValueVector FArguments{new TValueVector()};
  IValueVector FStatements{new TValueVector()};
  std::int32_t FOrder = 0;
};

// ---------------------------------------------------------------- TFunctionCall

// A compiled call: a function name and the raw arguments as written. The
// function is looked up on the first execution and kept.
class TFunctionCall : public TPersistent, public ICloneable {
public:
  explicit TFunctionCall(std::string AName = {});
  TFunctionCall(IReasoner* AReasoner, std::string AName);

  const std::string& GetName() const noexcept { return FName; }
  const std::string& GetComment() const noexcept { return FComment; }
  void SetComment(const std::string& Value) { FComment = Value; }
  IReasoner* GetReasoner() const noexcept { return FReasoner; }
  void SetReasoner(IReasoner* Value) noexcept { FReasoner = Value; }
  const IUserFunction& GetUserFunction() const noexcept { return FUserFunction; }
  // Another function also renames the call (nil empties the name).
  void SetUserFunction(const IUserFunction& Value);

  // ------------------------------------------------------------ arguments
  // Each gives the new index. The value overload stores the value itself;
  // the others wrap their argument in a new value.
  int AddArgument(const IKBValue& Value);
  // dtFloat, or dtInteger with the number truncated.
  int AddArgument(double Value, TKBType Type);
  // dtInteger, or dtFloat.
  int AddArgument(std::int32_t Value, TKBType Type);
  // dtAtom, dtString, dtVariable, dtMultiVariable, dtSlot or dtMultiSlot.
  int AddArgument(const std::string& Value, TKBType Type);
  int AddArgument(const char* Value, TKBType Type) { return AddArgument(std::string(Value), Type); }
  int AddArgument(const IFact& Value);
  int AddArgument(const IFunCall& Value);
  int AddArgument(const IValueVector& Value);
  int GetArgumentCount() const noexcept { return static_cast<int>(FArguments.size()); }
  IKBValue GetArgument(int Index) const;
  void SetArgument(int Index, const IKBValue& Value);
  virtual void Clear();
  virtual void Delete(int Index);

  // ------------------------------------------------------------ running
  // Looks the function up through the call's reasoner (or else the
  // context's engine) on first use, then calls it. Context must be nil or a
  // TKBContext.
  virtual IKBValue Execute(TObject* Context);
  // For a caller that has set the function itself: no lookup, and any error
  // comes back as "<name> error: <message>".
  virtual IKBValue SimpleExecute(TKBContext* Context);
  // Call->Execute(Context) for a caller that holds Call and has its context
  // as one already.
  static IKBValue RunCall(const IFunCall& Call, TKBContext* Context) {
    return typeid(*Call) == typeid(TFunctionCall) ? Run(Call, Context) : Call->Execute(Context);
  }
  // RunCall for a call whose value nobody reads, such as a rule's action.
  static void RunStatement(const IFunCall& Call, TKBContext* Context);
  // Argument Index as a function reads it: a value that stands for itself
  // as it is, a variable through its binding, a call by running it. Raises
  // EListError for an index out of range.
  IKBValue ResolveArgument(int Index, TKBContext* Context);
  // The same without a count where the value has an owner (this call, a
  // binding, a fact), so read it before anything else runs; a value made
  // for the occasion lands in Keep, which owns it.
  TKBValue* PeekArgument(int Index, TKBContext* Context, IKBValue& Keep);
  // Forgets the functions this call and the calls in its arguments found,
  // so that each looks its function up again by name when next run.
  void ForgetFunctions();

  // ------------------------------------------------------------ comparison and copies
  // Same name and equal arguments in the same order.
  virtual bool Equals(const IFunCall& Other) const;
  bool Equals(const IInterface& Other) const override;
  // Independent of the order of the arguments.
  virtual std::int32_t GetHashCode() const;
  std::string ToString() const override;

  // Name, comment, tag and clones of the arguments; neither the reasoner nor
  // the function.
  void Assign(const IInterface& Source) override;
  void Assign(TPersistent* Source) override;
  // Same reasoner and name, then Assign: the clone finds its function anew.
  virtual IFunCall Clone() const;
  IInterface CloneInterface() const override;
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

protected:
  ~TFunctionCall() override = default;

private:
  void AssignFrom(const TFunctionCall& Source);
  // The function for this call; raises _SNoSuchFunction when none is known.
  void Bind(TKBContext* Context);
  // Execute for a caller that holds Call and has its context as one.
  static IKBValue Run(const IFunCall& Call, TKBContext* Context);
  // Run's work; a null Result drops the value.
  static void Perform(const IFunCall& Call, TKBContext* Context, IKBValue* Result);
  // The binding of the variable argument at Index in Context's own level,
  // kept while that level does not change; nil when the level has none.
  TBinding* FindVariableBinding(std::size_t Index, const TKBValue& Argument, TKBContext* Context);
  void ForgetVariableBindings() noexcept { FVariableBindings.clear(); }

  // Where a variable argument found its binding: in the level whose table
  // showed Stamp.
  struct TVariableBinding {
    std::uint64_t Stamp = 0;
    TBinding* Binding = nullptr;
  };

  IReasoner* FReasoner = nullptr;
  std::vector<IKBValue> FArguments;
  // By argument index, made on the first variable resolved.
  std::vector<TVariableBinding> FVariableBindings;
  IUserFunction FUserFunction;
  std::string FName;
  std::intptr_t FTag = 0;
  std::string FComment;
};

// ---------------------------------------------------------------- stream form

// The fields of functions in a package's "PackageFunctions" property: a
// readable text of quoted strings and integers, one function a line.
class TFunctionDataWriter {
public:
  void WriteString(const std::string& Value);
  void WriteInteger(std::int32_t Value);
  void WriteLineEnd();
  const std::string& GetText() const noexcept { return FText; }

private:
  std::string FText;
};

class TFunctionDataReader {
public:
  explicit TFunctionDataReader(std::string_view AText) : FText(AText) {}
  // Raise EReadError on a field of the wrong kind or past the end.
  std::string ReadString();
  std::int32_t ReadInteger();
  // Skips to the next line; false at the end of the text.
  bool NextLine();
  void SkipLine();

private:
  void SkipBlanks();

  std::string_view FText;
  std::size_t FPos = 0;
};

// ---------------------------------------------------------------- packages

// A component that knows reasoners and hears of each one that comes or goes.
class TCustomReasonerOwner : public TComponent {
public:
  explicit TCustomReasonerOwner(TComponent* AOwner) : TComponent(AOwner) {}
  ~TCustomReasonerOwner() override { Destroying(); }

  const TReasonerList& GetReasoners() const noexcept { return FReasoners; }
  TReasonerList& GetReasoners() noexcept { return FReasoners; }
  void SetReasoners(const TReasonerList& Value) { FReasoners.Assign(Value); }

protected:
  friend class TReasonerList;
  virtual void ReasonerNotification(IReasoner* Reasoner, TCollectionNotification Action) {
    (void)Reasoner;
    (void)Action;
  }

  TReasonerList FReasoners{this};
};

// A group of functions that enters every reasoner of the package: the engine
// that owns it, the engine set as Engine, and any reasoner added by hand.
// Removing the package (or a reasoner) takes the functions out again.
//
// A package class overrides CreateFunctions, calls the inherited one and adds
// its functions (AddFunction<T>). Since a base constructor cannot reach that
// override, the class's constructor passes TDeferredConstruction and calls
// Construct() at its end.
class TUserPackage : public TCustomReasonerOwner {
public:
  explicit TUserPackage(TComponent* AOwner);
  ~TUserPackage() override;

  TUserFunctionList& GetFunctions() noexcept { return *FFunctions; }
  const TUserFunctionList& GetFunctions() const noexcept { return *FFunctions; }
  void SetFunctions(const TUserFunctionList& Value) { FFunctions->Assign(Value); }
  TComponent* GetEngine() const noexcept { return FEngineComponent; }
  // At design time the engine is only stored: nothing is registered.
  void SetEngine(TComponent* Value);
  // Reads false; writing true brings the package's own functions back.
  bool GetReset() const noexcept { return false; }
  void SetReset(bool Value);
  // The index of the function of that name (exact), or -1.
  int IndexOf(const TKBName& Name) const;

  // The "PackageFunctions" property: each function's class name and data.
  // Reading replaces the functions; a class that is not registered raises.
  std::string GetPackageFunctions() const;
  void SetPackageFunctions(const std::string& Value);

  void Assign(TPersistent* Source) override;

  TNotifyEvent OnCreateFunctions;

protected:
  struct TDeferredConstruction {};
  TUserPackage(TComponent* AOwner, TDeferredConstruction);
  // Adds the owner's reasoner, if it has one, then creates the functions,
  // so that each function registers as it comes.
  void Construct();

  template <class T, class... Args>
  IUserFunction AddFunction(Args&&... AArgs) {
    IUserFunction Function(TKBUserFunction::Create<T>(std::forward<Args>(AArgs)...));
    FFunctions->Add(Function);
    return Function;
  }

  friend class TUserFunctionList;
  virtual void FunctionNotification(const IUserFunction& Function, TCollectionNotification Action);
  virtual void AddFunctions(IReasoner* Reasoner);
  virtual void AddReasoners(const IUserFunction& Function);
  virtual void RemoveReasoners(const IUserFunction& Function);
  virtual void RemoveFunctions(IReasoner* Reasoner);
  // The base raises OnCreateFunctions.
  virtual void CreateFunctions();

  void ReasonerNotification(IReasoner* Reasoner, TCollectionNotification Action) override;
  void Notification(TComponent* AComponent, TOperation Operation) override;

private:
  // Reasoners that came with a component, so that the component's removal
  // finds its reasoner even when the component is half gone.
  void AddComponentReasoner(TComponent* Component, IReasoner* Reasoner);

  void ForgetComponent(TComponent* Component);

  // The engine also as component and as reasoner, taken while it is whole:
  // a notification may come when only its component part is left.
  TComponent* FEngineComponent = nullptr;
  IReasoner* FEngineReasoner = nullptr;
  std::unique_ptr<TUserFunctionList> FFunctions;
  std::vector<std::pair<TComponent*, IReasoner*>> FComponentReasoners;
};

// ---------------------------------------------------------------- host functions

class TKBFunctionNexus;
class TCustomUserFunction;

// The function behind a host object. Its owner is the object that answers
// the call; once the owner is gone the name stays registered and a call
// raises _SNoSuchFunction.
class TKBInnerFunction : public TKBUserFunction {
public:
  explicit TKBInnerFunction(TObject* AOwner);
  TKBInnerFunction(TObject* AOwner, const TKBName& AName);

  using TKBUserFunction::Call;
  TObject* GetOwner() const noexcept { return FOwner; }
  // Heard through the nexus.
  virtual void Notification(TComponent* AComponent, TOperation Operation);

  TCallEvent OnCall;

protected:
  ~TKBInnerFunction() override;
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;

private:
  TObject* FOwner;
  std::unique_ptr<TKBFunctionNexus> FNexus;
};

// Hears free notifications for an inner function, which is no component.
class TKBFunctionNexus : public TComponent {
public:
  explicit TKBFunctionNexus(TKBInnerFunction* AInnerFunction) : TComponent(nullptr), FInnerFunction(AInnerFunction) {}
  ~TKBFunctionNexus() override { Destroying(); }

protected:
  void Notification(TComponent* AComponent, TOperation Operation) override;

private:
  TKBInnerFunction* FInnerFunction;
};

// A component that is a rule-language function: set its name and Engine and
// handle OnCall. Without a handler the function gives nil.
class TCustomUserFunction : public TComponent {
public:
  explicit TCustomUserFunction(TComponent* AOwner);
  TCustomUserFunction(TComponent* AOwner, const TKBName& AName);
  ~TCustomUserFunction() override;

  const IUserFunction& GetInnerFunction() const noexcept { return FInnerFunction; }
  const TKBName& GetFunctionName() const noexcept { return FInnerFunction->GetFunctionName(); }
  void SetFunctionName(const TKBName& Value) { FInnerFunction->SetFunctionName(Value); }
  const std::string& GetComment() const noexcept { return FInnerFunction->GetComment(); }
  void SetComment(const std::string& Value) { FInnerFunction->SetComment(Value); }
  const std::string& GetArgumentString() const noexcept { return FInnerFunction->GetArgumentString(); }
  void SetArgumentString(const std::string& Value) { FInnerFunction->SetArgumentString(Value); }
  // Setting a limit also rebuilds the argument string.
  std::int32_t GetMinArgumentCount() const { return FInnerFunction->GetMinArgumentCount(); }
  void SetMinArgumentCount(std::int32_t Value);
  std::int32_t GetMaxArgumentCount() const { return FInnerFunction->GetMaxArgumentCount(); }
  void SetMaxArgumentCount(std::int32_t Value);
  TComponent* GetEngine() const noexcept { return FEngineComponent; }
  // Leaves the old engine's table and enters the new one's, when named.
  void SetEngine(TComponent* Value);

  // Sets Result to nil, then, outside design time, raises OnCall.
  virtual void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result);

  // Comment, name, maximum, minimum, in that order.
  void Assign(TPersistent* Source) override;

  TCallEvent OnCall;

protected:
  void Notification(TComponent* AComponent, TOperation Operation) override;

private:
  void RebuildArgumentString();

  IReasoner* FEngine = nullptr;
  // The engine as component, for when only that part of it is left.
  TComponent* FEngineComponent = nullptr;
  IUserFunction FInnerFunction;
};

// The published form of TCustomUserFunction.
class TUserFunction : public TCustomUserFunction {
public:
  using TCustomUserFunction::TCustomUserFunction;
  ~TUserFunction() override { Destroying(); }
};

// An argument string for the limits, taking the argument names of Old where
// it has them: "<expression>[ <expression>[ <expression>]]" for 1 to 3. At
// most Limit arguments are written.
std::string CreateArgumentExpressions(const std::string& Old, std::int32_t Min, std::int32_t Max, std::int32_t Limit);

}  // namespace cogent
