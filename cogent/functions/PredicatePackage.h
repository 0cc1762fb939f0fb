#pragma once
// The predicate package: tests of a value's kind and of whole numbers.

#include "cogent/functions/KBHelperFunctions.h"

namespace cogent {

class TPredicatePackage : public TUserPackage {
public:
  explicit TPredicatePackage(TComponent* AOwner);
  ~TPredicatePackage() override;

protected:
  void CreateFunctions() override;
};

// One class for the predicates that ask whether a value is of some kinds.
class TVerifyTypePFunction : public TBuiltInFunction {
public:
  TVerifyTypePFunction() = default;
  // The kinds go first, so that the name can describe them.
  TVerifyTypePFunction(const TKBName& AName, TKBTypes AValueTypes);

  TKBTypes GetValueTypes() const noexcept { return FValueTypes; }
  void SetValueTypes(TKBTypes Value) noexcept { FValueTypes = Value; }
  // Also sets the comment, which names the kinds, and the argument string.
  void SetFunctionName(const TKBName& Value) override;

  // The kinds stream behind the fields of every function.
  void WriteData(TFunctionDataWriter& Writer) const override;
  void ReadData(TFunctionDataReader& Reader) override;

protected:
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override;

private:
  TKBTypes FValueTypes;
};

COGENT_BUILT_IN_FUNCTION(TEvenPFunction)
COGENT_BUILT_IN_FUNCTION(TOddPFunction)
COGENT_BUILT_IN_FUNCTION(TGetValueTypeFunction)

}  // namespace cogent
