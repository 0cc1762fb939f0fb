#pragma once
// The host's reflection over published properties. A class publishes its
// properties once, at start-up, in a table of its own: each property has a
// name, a kind and accessors for that kind. An object's properties are those
// of its class and of the class's registered ancestors, a class's own first.
//
//   PublishedProperties<TGauge>()
//       .Integer("Level", &TGauge::GetLevel, &TGauge::SetLevel)
//       .Boolean("Enabled", &TGauge::GetEnabled, &TGauge::SetEnabled);

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "cogent/host/Classes.h"

namespace cogent {

enum TTypeKind : std::uint8_t {
  tkUnknown,
  tkInteger,
  tkChar,
  tkEnumeration,
  tkFloat,
  tkString,
  tkSet,
  tkClass,
  tkMethod,
  tkWChar,
  tkLString,
  tkWString,
  tkVariant,
  tkArray,
  tkRecord,
  tkInterface,
  tkInt64,
  tkDynArray,
  tkUString
};
using TTypeKinds = TSet<TTypeKind>;

inline constexpr TTypeKinds tkAny = TTypeKinds::Range(tkUnknown, tkUString);
inline constexpr TTypeKinds tkProperties = tkAny - TTypeKinds{tkMethod, tkUnknown};
inline constexpr TTypeKinds tkIntegers{tkInteger, tkInt64};
inline constexpr TTypeKinds tkChars{tkChar, tkWChar};
inline constexpr TTypeKinds tkStrings{tkChar, tkWChar, tkString, tkLString, tkWString, tkUString};

// "tkInteger" and the like.
std::string GetTypeKindName(TTypeKind Kind);

COGENT_DECLARE_EXCEPTION(EClassNotFound, Exception)
COGENT_DECLARE_EXCEPTION(EPropertyError, Exception)
COGENT_DECLARE_EXCEPTION(EPropertyConvertError, Exception)

inline constexpr const char* SClassNotFound = "Class %s not found";
inline constexpr const char* SInvalidPropertyType = "Invalid property type: %s";
inline constexpr const char* SInvalidPropertyValue = "Invalid property value";
inline constexpr const char* SInvalidPropertyElement = "Invalid property element: %s";
inline constexpr const char* SPropertyReadOnly = "Property %s is read-only";

// One published property. The accessors that its kind uses are set: ordinal
// ones for integers, characters (the code point), enumerations (the
// ordinal) and sets (the bits); float, text and object ones for the rest.
// A property without a setter is read-only. Methods and kinds without a
// mapping have no accessors.
struct TPropInfo {
  std::string Name;
  TTypeKind Kind = tkUnknown;
  // The names of an enumeration's values or of a set's elements, by ordinal.
  std::vector<std::string> ValueNames;
  std::function<std::int64_t(const TObject&)> GetOrd;
  std::function<void(TObject&, std::int64_t)> SetOrd;
  std::function<double(const TObject&)> GetFloat;
  std::function<void(TObject&, double)> SetFloat;
  std::function<std::string(const TObject&)> GetStr;
  std::function<void(TObject&, const std::string&)> SetStr;
  std::function<TObject*(const TObject&)> GetObject;
  std::function<void(TObject&, TObject*)> SetObject;
};

// Adds a property to the class's table; a name published again replaces the
// earlier one.
void AddPublishedProperty(TClass AClass, TPropInfo Info);

// Whether the class or an ancestor publishes properties; for an object, also
// a component whose class's registered ancestry stops short of TComponent.
bool HasTypeInfo(TClass AClass);
bool HasTypeInfo(const TObject* Instance);
// The property by name, case-insensitive; nil when the object has none of
// that name, or is nil.
const TPropInfo* GetPropInfo(const TObject* Instance, std::string_view PropName);
bool IsPublishedProp(const TObject* Instance, std::string_view PropName);
// The object's properties of those kinds, sorted by name.
std::vector<const TPropInfo*> GetPropList(const TObject* Instance, TTypeKinds Kinds = tkAny);

// Reading and writing by kind. A property of another kind raises
// EPropertyError SInvalidPropertyType naming its kind; a read-only one
// SPropertyReadOnly; a text that names no value EPropertyConvertError.
std::int64_t GetOrdProp(const TObject& Instance, const TPropInfo& Prop);
void SetOrdProp(TObject& Instance, const TPropInfo& Prop, std::int64_t Value);
double GetFloatProp(const TObject& Instance, const TPropInfo& Prop);
void SetFloatProp(TObject& Instance, const TPropInfo& Prop, double Value);
// Strings and characters.
std::string GetStrProp(const TObject& Instance, const TPropInfo& Prop);
void SetStrProp(TObject& Instance, const TPropInfo& Prop, const std::string& Value);
// The value's name; set by name, case-insensitive.
std::string GetEnumProp(const TObject& Instance, const TPropInfo& Prop);
void SetEnumProp(TObject& Instance, const TPropInfo& Prop, const std::string& Value);
// "[a,b]" (or "a,b"); set from either form, blanks around names allowed.
std::string GetSetProp(const TObject& Instance, const TPropInfo& Prop, bool Brackets = true);
void SetSetProp(TObject& Instance, const TPropInfo& Prop, const std::string& Value);
TObject* GetObjectProp(const TObject& Instance, const TPropInfo& Prop);
void SetObjectProp(TObject& Instance, const TPropInfo& Prop, TObject* Value);

// Builds a class's table, property by property, from getters and setters:
// member function pointers or callables taking the object. Pass nullptr as
// the setter of a read-only property.
template <class T>
class PublishedProperties {
public:
  PublishedProperties() : FClass(ClassOf<T>()) {}

  template <class G, class S>
  PublishedProperties& Integer(std::string Name, G Get, S Set) {
    return Ordinal(std::move(Name), tkInteger, {}, Get, Set,
                   [](std::int64_t V) { return static_cast<std::int32_t>(V); });
  }
  template <class G, class S>
  PublishedProperties& Int64(std::string Name, G Get, S Set) {
    return Ordinal(std::move(Name), tkInt64, {}, Get, Set, [](std::int64_t V) { return V; });
  }
  template <class G, class S>
  PublishedProperties& Char(std::string Name, G Get, S Set) {
    return Ordinal(std::move(Name), tkWChar, {}, Get, Set, [](std::int64_t V) { return static_cast<char32_t>(V); });
  }
  // The getter gives and the setter takes an unscoped enumeration E.
  template <class E, class G, class S>
  PublishedProperties& Enumeration(std::string Name, std::vector<std::string> Names, G Get, S Set) {
    return Ordinal(std::move(Name), tkEnumeration, std::move(Names), Get, Set,
                   [](std::int64_t V) { return static_cast<E>(V); });
  }
  template <class G, class S>
  PublishedProperties& Boolean(std::string Name, G Get, S Set) {
    return Ordinal(std::move(Name), tkEnumeration, {"False", "True"}, Get, Set,
                   [](std::int64_t V) { return V != 0; });
  }
  // The getter gives and the setter takes a TSet<E>.
  template <class E, class G, class S>
  PublishedProperties& Set(std::string Name, std::vector<std::string> Names, G Get, S Set) {
    TPropInfo Info = Start(std::move(Name), tkSet);
    Info.ValueNames = std::move(Names);
    Info.GetOrd = [Get](const TObject& O) {
      return static_cast<std::int64_t>(TSet<E>(std::invoke(Get, Self(O))).Bits());
    };
    if constexpr (!std::is_null_pointer_v<S>)
      Info.SetOrd = [Set](TObject& O, std::int64_t V) {
        std::invoke(Set, Self(O), TSet<E>::FromBits(static_cast<std::uint64_t>(V)));
      };
    return Add(std::move(Info));
  }
  template <class G, class S>
  PublishedProperties& Float(std::string Name, G Get, S Set) {
    TPropInfo Info = Start(std::move(Name), tkFloat);
    Info.GetFloat = [Get](const TObject& O) { return static_cast<double>(std::invoke(Get, Self(O))); };
    if constexpr (!std::is_null_pointer_v<S>)
      Info.SetFloat = [Set](TObject& O, double V) { std::invoke(Set, Self(O), V); };
    return Add(std::move(Info));
  }
  template <class G, class S>
  PublishedProperties& String(std::string Name, G Get, S Set) {
    TPropInfo Info = Start(std::move(Name), tkUString);
    Info.GetStr = [Get](const TObject& O) { return std::string(std::invoke(Get, Self(O))); };
    if constexpr (!std::is_null_pointer_v<S>)
      Info.SetStr = [Set](TObject& O, const std::string& V) { std::invoke(Set, Self(O), V); };
    return Add(std::move(Info));
  }
  // A reference to an object of class C (or a descendant); the setter
  // refuses an object of another class.
  template <class C, class G, class S>
  PublishedProperties& Object(std::string Name, G Get, S Set) {
    TPropInfo Info = Start(std::move(Name), tkClass);
    Info.GetObject = [Get](const TObject& O) -> TObject* { return std::invoke(Get, Self(O)); };
    if constexpr (!std::is_null_pointer_v<S>)
      Info.SetObject = [Set](TObject& O, TObject* V) {
        C* Typed = dynamic_cast<C*>(V);
        if (V && !Typed) throw EInvalidCast(SInvalidCast);
        std::invoke(Set, Self(O), Typed);
      };
    return Add(std::move(Info));
  }
  // An event, or a property of a kind that has no accessors here.
  PublishedProperties& Other(std::string Name, TTypeKind Kind) { return Add(Start(std::move(Name), Kind)); }

private:
  static const T& Self(const TObject& O) {
    const T* Typed = dynamic_cast<const T*>(&O);
    if (!Typed) throw EInvalidCast(SInvalidCast);
    return *Typed;
  }
  static T& Self(TObject& O) {
    T* Typed = dynamic_cast<T*>(&O);
    if (!Typed) throw EInvalidCast(SInvalidCast);
    return *Typed;
  }
  static TPropInfo Start(std::string Name, TTypeKind Kind) {
    TPropInfo Info;
    Info.Name = std::move(Name);
    Info.Kind = Kind;
    return Info;
  }
  template <class G, class S, class Cast>
  PublishedProperties& Ordinal(std::string Name, TTypeKind Kind, std::vector<std::string> Names, G Get, S Set,
                               Cast ToValue) {
    TPropInfo Info = Start(std::move(Name), Kind);
    Info.ValueNames = std::move(Names);
    Info.GetOrd = [Get](const TObject& O) { return static_cast<std::int64_t>(std::invoke(Get, Self(O))); };
    if constexpr (!std::is_null_pointer_v<S>)
      Info.SetOrd = [Set, ToValue](TObject& O, std::int64_t V) { std::invoke(Set, Self(O), ToValue(V)); };
    return Add(std::move(Info));
  }
  PublishedProperties& Add(TPropInfo Info) {
    AddPublishedProperty(FClass, std::move(Info));
    return *this;
  }

  TClass FClass;
};

}  // namespace cogent
