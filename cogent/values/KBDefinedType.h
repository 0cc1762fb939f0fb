#pragma once
// Defined types: named sets of constraints on a value, held by slots. For now
// a type is its name and its base types; constraints, inheritance and fuzzy
// variables come with defined types.

#include <string>

#include "cogent/facts/KBModule.h"
#include "cogent/values/KBValue.h"

namespace cogent {

class TKBDefinedType : public TModuleConstruct {
public:
  explicit TKBDefinedType(const TKBName& AName = {}, TKBTypes ABaseTypes = KBSlotTypes)
      : FName(AName), FBaseTypes(ABaseTypes) {}

  const TKBName& GetName() const noexcept { return FName; }
  void SetName(const TKBName& Value) {
    if (Value == FName) return;
    CheckKBName(Value);
    FName = Value;
  }
  TKBTypes GetBaseTypes() const noexcept { return FBaseTypes; }
  void SetBaseTypes(TKBTypes Value) noexcept { FBaseTypes = Value; }
  // A type made for a slot with inline constraints follows the slot's types.
  bool GetImplicit() const noexcept { return FImplicit; }
  void SetImplicit(bool Value) noexcept { FImplicit = Value; }

  virtual bool IsValid(const IKBValue& Value) const;
  // Empty for a valid value, else the reason.
  virtual std::string GetInvalidValueString(const IKBValue& Value) const;
  virtual IKBValue CreateValidDefault(bool Multi) const;

protected:
  ~TKBDefinedType() override = default;

private:
  TKBName FName;
  TKBTypes FBaseTypes;
  bool FImplicit = false;
};

}  // namespace cogent
