#pragma once
// The root of the host's object model: TObject with run-time class names,
// and class references.

#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace cogent {

class TObject;
class TComponent;

// ---------------------------------------------------------------- classes

// A class reference. Every polymorphic class has one, named after the C++
// class without its namespaces or template arguments ("TList<TFoo>" is
// "TList"); a class registered with RegisterClass<T>() also knows its parent
// and can make instances, and is found by FindClass. Registration is meant
// for start-up; lookups are safe from any thread.
class TMetaClass {
public:
  using TFactory = std::function<TObject*(TComponent* AOwner)>;

  const std::string& ClassName() const noexcept { return FName; }
  const TMetaClass* ClassParent() const noexcept { return FParent; }
  // True for this class and for each registered ancestor.
  bool InheritsFrom(const TMetaClass* AClass) const noexcept;
  bool CanCreate() const noexcept { return static_cast<bool>(FFactory); }
  // A new instance; components get AOwner. Nil when the class has no factory.
  TObject* CreateInstance(TComponent* AOwner = nullptr) const;

  // The class of a C++ type, made on first use.
  static const TMetaClass* Of(const std::type_info& AType);
  // A registered class by name, case-insensitive; nil when unknown.
  static const TMetaClass* FindClass(std::string_view AName);
  static void Register(const std::type_info& AType, const std::type_info* AParent, TFactory AFactory);

  explicit TMetaClass(std::string AName) : FName(std::move(AName)) {}

private:
  std::string FName;
  const TMetaClass* FParent = nullptr;
  TFactory FFactory;
};

using TClass = const TMetaClass*;
using TPersistentClass = const TMetaClass*;

template <class T>
TClass ClassOf() {
  return TMetaClass::Of(typeid(T));
}

// Registers T (with Parent as its ancestor) in the class registry, with a
// factory when T can be made from an owner (components) or from nothing.
template <class T, class Parent = void>
void RegisterClass() {
  TMetaClass::TFactory Factory;
  if constexpr (requires(TComponent* O) { new T(O); })
    Factory = [](TComponent* AOwner) -> TObject* { return new T(AOwner); };
  else if constexpr (requires { new T(); })
    Factory = [](TComponent*) -> TObject* { return new T(); };
  const std::type_info* ParentType = nullptr;
  if constexpr (!std::is_void_v<Parent>) ParentType = &typeid(Parent);
  TMetaClass::Register(typeid(T), ParentType, std::move(Factory));
}

// Object as a T, nil when it is none. Objects on a hot path are mostly of
// exactly the class asked for, and comparing the class is cheaper than a
// cast through the hierarchy, so that is tried first.
template <class T, class U>
auto ObjectAs(U* Object) noexcept -> std::conditional_t<std::is_const_v<U>, const T*, T*> {
  using TResult = std::conditional_t<std::is_const_v<U>, const T*, T*>;
  if (!Object) return nullptr;
  if (typeid(*Object) == typeid(T)) return static_cast<TResult>(Object);
  return dynamic_cast<TResult>(Object);
}

// ---------------------------------------------------------------- TObject

class TObject {
public:
  TObject() = default;
  TObject(const TObject&) = default;
  TObject& operator=(const TObject&) = default;
  virtual ~TObject() = default;

  TClass ClassType() const { return TMetaClass::Of(typeid(*this)); }
  std::string ClassName() const { return ClassType()->ClassName(); }
  virtual std::string ToString() const { return ClassName(); }
};

}  // namespace cogent
