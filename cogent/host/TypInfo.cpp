#include "cogent/host/TypInfo.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>

namespace cogent {

namespace {

constexpr const char* TypeKindNames[] = {"tkUnknown", "tkInteger", "tkChar",      "tkEnumeration", "tkFloat",
                                         "tkString",  "tkSet",     "tkClass",     "tkMethod",      "tkWChar",
                                         "tkLString", "tkWString", "tkVariant",   "tkArray",       "tkRecord",
                                         "tkInterface", "tkInt64", "tkDynArray", "tkUString"};

// Tables are filled at start-up and read afterwards. Each entry is allocated
// on its own, so the pointers that lookups hand out stay valid while a
// table grows.
struct TPropertyRegistry {
  std::mutex Lock;
  std::unordered_map<TClass, std::vector<std::unique_ptr<TPropInfo>>> Tables;
};

TPropertyRegistry& Registry() {
  static TPropertyRegistry* const Instance = new TPropertyRegistry;
  return *Instance;
}

// Every component publishes its name and tag.
[[maybe_unused]] const bool ComponentPublished = [] {
  PublishedProperties<TComponent>()
      .String("Name", &TComponent::GetName, &TComponent::SetName)
      .Int64("Tag", &TComponent::GetTag, &TComponent::SetTag);
  return true;
}();

// The tables that describe Instance: its class's, then its ancestors', then
// the component's when the registered ancestry stops short of it.
std::vector<const std::vector<std::unique_ptr<TPropInfo>>*> TablesOf(const TObject& Instance) {
  std::vector<const std::vector<std::unique_ptr<TPropInfo>>*> Result;
  TPropertyRegistry& R = Registry();
  const std::lock_guard<std::mutex> Guard(R.Lock);
  const TClass Component = ClassOf<TComponent>();
  bool SawComponent = false;
  for (TClass C = Instance.ClassType(); C; C = C->ClassParent()) {
    SawComponent = SawComponent || C == Component;
    const auto It = R.Tables.find(C);
    if (It != R.Tables.end()) Result.push_back(&It->second);
  }
  if (!SawComponent && dynamic_cast<const TComponent*>(&Instance)) {
    const auto It = R.Tables.find(Component);
    if (It != R.Tables.end()) Result.push_back(&It->second);
  }
  return Result;
}

[[noreturn]] void InvalidType(const TPropInfo& Prop) {
  throw EPropertyError(Format(SInvalidPropertyType, GetTypeKindName(Prop.Kind)));
}

void Require(const TPropInfo& Prop, TTypeKinds Kinds, bool Present) {
  if (!Kinds.Contains(Prop.Kind) || !Present) InvalidType(Prop);
}

template <class F>
const F& Writer(const TPropInfo& Prop, const F& Setter) {
  if (!Setter) throw EPropertyError(Format(SPropertyReadOnly, Prop.Name));
  return Setter;
}

int IndexOfName(const TPropInfo& Prop, std::string_view Name) {
  const std::string Wanted = Trim(Name);
  for (std::size_t I = 0; I < Prop.ValueNames.size(); ++I)
    if (SameText(Prop.ValueNames[I], Wanted)) return static_cast<int>(I);
  return -1;
}

bool IsCodePoint(std::int64_t Value) {
  return Value >= 0 && Value <= 0x10FFFF && !(Value >= 0xD800 && Value <= 0xDFFF);
}

}  // namespace

std::string GetTypeKindName(TTypeKind Kind) {
  return Kind <= tkUString ? TypeKindNames[Kind] : std::string("tkUnknown");
}

void AddPublishedProperty(TClass AClass, TPropInfo Info) {
  TPropertyRegistry& R = Registry();
  const std::lock_guard<std::mutex> Guard(R.Lock);
  auto& Table = R.Tables[AClass];
  for (auto& Existing : Table)
    if (SameText(Existing->Name, Info.Name)) {
      *Existing = std::move(Info);
      return;
    }
  Table.push_back(std::make_unique<TPropInfo>(std::move(Info)));
}

bool HasTypeInfo(TClass AClass) {
  TPropertyRegistry& R = Registry();
  const std::lock_guard<std::mutex> Guard(R.Lock);
  for (TClass C = AClass; C; C = C->ClassParent())
    if (R.Tables.count(C)) return true;
  return false;
}

bool HasTypeInfo(const TObject* Instance) { return Instance && !TablesOf(*Instance).empty(); }

const TPropInfo* GetPropInfo(const TObject* Instance, std::string_view PropName) {
  if (!Instance) return nullptr;
  for (const auto* Table : TablesOf(*Instance))
    for (const auto& Prop : *Table)
      if (SameText(Prop->Name, PropName)) return Prop.get();
  return nullptr;
}

bool IsPublishedProp(const TObject* Instance, std::string_view PropName) {
  return GetPropInfo(Instance, PropName) != nullptr;
}

std::vector<const TPropInfo*> GetPropList(const TObject* Instance, TTypeKinds Kinds) {
  std::vector<const TPropInfo*> Result;
  if (!Instance) return Result;
  for (const auto* Table : TablesOf(*Instance))
    for (const auto& Prop : *Table) {
      // A descendant's property hides an ancestor's of the same name.
      const bool Hidden = std::any_of(Result.begin(), Result.end(),
                                      [&](const TPropInfo* Seen) { return SameText(Seen->Name, Prop->Name); });
      if (!Hidden && Kinds.Contains(Prop->Kind)) Result.push_back(Prop.get());
    }
  std::stable_sort(Result.begin(), Result.end(),
                   [](const TPropInfo* A, const TPropInfo* B) { return CompareText(A->Name, B->Name) < 0; });
  return Result;
}

std::int64_t GetOrdProp(const TObject& Instance, const TPropInfo& Prop) {
  Require(Prop, tkIntegers + tkChars + TTypeKinds{tkEnumeration, tkSet}, static_cast<bool>(Prop.GetOrd));
  return Prop.GetOrd(Instance);
}

void SetOrdProp(TObject& Instance, const TPropInfo& Prop, std::int64_t Value) {
  Require(Prop, tkIntegers + tkChars + TTypeKinds{tkEnumeration, tkSet}, true);
  const auto& Set = Writer(Prop, Prop.SetOrd);
  const auto Names = static_cast<std::int64_t>(Prop.ValueNames.size());
  bool Valid = true;
  if (Prop.Kind == tkEnumeration)
    Valid = Value >= 0 && Value < Names;
  else if (Prop.Kind == tkSet)
    Valid = Names >= 64 || (static_cast<std::uint64_t>(Value) >> Names) == 0;
  else if (tkChars.Contains(Prop.Kind))
    Valid = IsCodePoint(Value);
  if (!Valid) throw EPropertyConvertError(SInvalidPropertyValue);
  Set(Instance, Value);
}

double GetFloatProp(const TObject& Instance, const TPropInfo& Prop) {
  Require(Prop, {tkFloat}, static_cast<bool>(Prop.GetFloat));
  return Prop.GetFloat(Instance);
}

void SetFloatProp(TObject& Instance, const TPropInfo& Prop, double Value) {
  Require(Prop, {tkFloat}, true);
  Writer(Prop, Prop.SetFloat)(Instance, Value);
}

std::string GetStrProp(const TObject& Instance, const TPropInfo& Prop) {
  if (tkChars.Contains(Prop.Kind)) {
    const std::int64_t Code = GetOrdProp(Instance, Prop);
    std::string Result;
    UTF8Append(Result, IsCodePoint(Code) ? static_cast<char32_t>(Code) : U'\uFFFD');
    return Result;
  }
  Require(Prop, tkStrings, static_cast<bool>(Prop.GetStr));
  return Prop.GetStr(Instance);
}

void SetStrProp(TObject& Instance, const TPropInfo& Prop, const std::string& Value) {
  if (tkChars.Contains(Prop.Kind)) {
    // Exactly one character, and a valid one.
    std::size_t Pos = 0;
    const char32_t Code = UTF8Decode(Value, Pos);
    const bool Replacement = Code == U'\uFFFD' && Value != "\xEF\xBF\xBD";
    if (Value.empty() || Pos != Value.size() || Replacement) throw EPropertyConvertError(SInvalidPropertyValue);
    SetOrdProp(Instance, Prop, Code);
    return;
  }
  Require(Prop, tkStrings, true);
  Writer(Prop, Prop.SetStr)(Instance, Value);
}

std::string GetEnumProp(const TObject& Instance, const TPropInfo& Prop) {
  Require(Prop, {tkEnumeration}, true);
  const std::int64_t Ordinal = GetOrdProp(Instance, Prop);
  if (Ordinal < 0 || Ordinal >= static_cast<std::int64_t>(Prop.ValueNames.size())) return IntToStr(Ordinal);
  return Prop.ValueNames[static_cast<std::size_t>(Ordinal)];
}

void SetEnumProp(TObject& Instance, const TPropInfo& Prop, const std::string& Value) {
  Require(Prop, {tkEnumeration}, true);
  const int Index = IndexOfName(Prop, Value);
  if (Index < 0) throw EPropertyConvertError(Format(SInvalidPropertyElement, Value));
  SetOrdProp(Instance, Prop, Index);
}

std::string GetSetProp(const TObject& Instance, const TPropInfo& Prop, bool Brackets) {
  Require(Prop, {tkSet}, true);
  const auto Bits = static_cast<std::uint64_t>(GetOrdProp(Instance, Prop));
  std::string Result;
  for (std::size_t I = 0; I < Prop.ValueNames.size() && I < 64; ++I)
    if ((Bits >> I) & 1u) {
      if (!Result.empty()) Result += ',';
      Result += Prop.ValueNames[I];
    }
  return Brackets ? "[" + Result + "]" : Result;
}

void SetSetProp(TObject& Instance, const TPropInfo& Prop, const std::string& Value) {
  Require(Prop, {tkSet}, true);
  std::string Text = Trim(Value);
  if (!Text.empty() && Text.front() == '[') {
    if (Text.back() != ']') throw EPropertyConvertError(SInvalidPropertyValue);
    Text = Text.substr(1, Text.size() - 2);
  }
  std::uint64_t Bits = 0;
  if (!Trim(Text).empty()) {
    std::size_t Start = 0;
    while (true) {
      const std::size_t Comma = Text.find(',', Start);
      const std::string Element = Text.substr(Start, Comma == std::string::npos ? std::string::npos : Comma - Start);
      const int Index = IndexOfName(Prop, Element);
      if (Index < 0 || Index >= 64) throw EPropertyConvertError(Format(SInvalidPropertyElement, Trim(Element)));
      Bits |= std::uint64_t{1} << Index;
      if (Comma == std::string::npos) break;
      Start = Comma + 1;
    }
  }
  SetOrdProp(Instance, Prop, static_cast<std::int64_t>(Bits));
}

TObject* GetObjectProp(const TObject& Instance, const TPropInfo& Prop) {
  Require(Prop, {tkClass}, static_cast<bool>(Prop.GetObject));
  return Prop.GetObject(Instance);
}

void SetObjectProp(TObject& Instance, const TPropInfo& Prop, TObject* Value) {
  Require(Prop, {tkClass}, true);
  Writer(Prop, Prop.SetObject)(Instance, Value);
}

}  // namespace cogent
