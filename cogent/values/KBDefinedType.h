#pragma once
// Defined types: named sets of constraints on a value (the kinds allowed, a
// numeric range, a list cardinality, lists of allowed values, units, or a
// fuzzy variable). Types inherit by copying; a slot of a template points to
// one, and constraints written on a slot live in an implicit type of its own.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cogent/foundation/VXStringList.h"
#include "cogent/values/KBModuleConstruct.h"
#include "cogent/values/KBFuzzyLogic.h"
#include "cogent/values/KBValue.h"

namespace cogent {

// The bounds of a type that has no limit of its own; written out, each reads
// as "?VARIABLE".
inline constexpr double KBOpenMinRange = -2147483648.0;
inline constexpr double KBOpenMaxRange = 2147483647.0;
inline constexpr std::int32_t KBOpenMaxCardinality = 2147483647;

class TKBDefinedType : public TModuleConstruct {
public:
  // The type belongs to AReasoner (may be nil) and starts in its current
  // module; it allows every plain slot kind and is named "implicit".
  explicit TKBDefinedType(IReasoner* AReasoner = nullptr);
  // A shorthand for code that builds types by hand.
  explicit TKBDefinedType(const TKBName& AName, TKBTypes ABaseTypes = KBSlotTypes, IReasoner* AReasoner = nullptr);
  TKBDefinedType(const TKBDefinedType&) = delete;
  TKBDefinedType& operator=(const TKBDefinedType&) = delete;

  // ------------------------------------------------------------ properties
  // Every setter that is given the present value does nothing; any other
  // stores, does its own work and calls Change. A setter that raises leaves
  // the field as it was.
  IKBDefinedType GetAncestor() const { return FAncestor; }
  // Raises _STypeInheritanceLoop when this type is among the ancestor's
  // ancestors; a type with an ancestor is not implicit.
  virtual void SetAncestor(const IKBDefinedType& Value);
  TKBTypes GetBaseTypes() const noexcept { return FBaseTypes; }
  // dtFuzzy with anything else raises _SCannotMixFuzzy; the set is reduced
  // to the slot kinds. Exactly dtFuzzy makes a fuzzy variable when there is
  // none; any other set drops it.
  virtual void SetBaseTypes(TKBTypes Value);
  const std::string& GetComment() const noexcept { return FComment; }
  virtual void SetComment(const std::string& Value);
  TValueConstraints GetConstraints() const noexcept { return FConstraints; }
  // A kind that leaves frees its list; a kind that enters gets an empty one.
  virtual void SetConstraints(TValueConstraints Value);
  IFuzzyVariable GetFuzzyType() const { return FFuzzyType; }
  // Takes the variable's universe as range and its units; the variable gets
  // the reasoner as its fuzzy parser when the reasoner is one.
  virtual void SetFuzzyType(const IFuzzyVariable& Value);
  bool GetImplicit() const noexcept { return FImplicit; }
  virtual void SetImplicit(bool Value);
  std::int32_t GetMaxCardinality() const noexcept { return FMaxCardinality; }
  // Negative is taken as 0; the minimum follows when above.
  virtual void SetMaxCardinality(std::int32_t Value);
  double GetMaxRange() const noexcept { return FMaxRange; }
  // The minimum follows when above; a fuzzy variable gets the bound.
  virtual void SetMaxRange(double Value);
  std::int32_t GetMinCardinality() const noexcept { return FMinCardinality; }
  virtual void SetMinCardinality(std::int32_t Value);
  double GetMinRange() const noexcept { return FMinRange; }
  virtual void SetMinRange(double Value);
  const TKBName& GetName() const noexcept { return FName; }
  // Raises _SUnexpectedCharacters for a name with a character that the
  // language reserves; tells the reasoner of the rename.
  virtual void SetName(const TKBName& Value);
  IReasoner* GetReasoner() const noexcept { return FReasoner; }
  // Takes the reasoner's current module.
  virtual void SetReasoner(IReasoner* Value);
  bool GetCardinalityLimited() const noexcept { return FCardinalityLimited; }
  virtual void SetCardinalityLimited(bool Value);
  bool GetRangeLimited() const noexcept { return FRangeLimited; }
  virtual void SetRangeLimited(bool Value);
  const std::string& GetUnits() const noexcept { return FUnits; }
  virtual void SetUnits(const std::string& Value);
  const TNotifyEvent& GetOnChange() const noexcept { return FOnChange; }
  void SetOnChange(TNotifyEvent Value) { FOnChange = std::move(Value); }

  // ------------------------------------------------------------ allowed lists
  // The counts are 0 for a kind not in force; the indexed getters raise
  // _SNoSuchConstraint for it.
  std::int32_t GetConstraintAtomsCount() const noexcept;
  std::string GetConstraintAtom(std::int32_t Index) const;
  std::int32_t GetConstraintStringsCount() const noexcept;
  std::string GetConstraintString(std::int32_t Index) const;
  std::int32_t GetConstraintIntegersCount() const noexcept;
  std::int32_t GetConstraintInteger(std::int32_t Index) const;
  std::int32_t GetConstraintFloatsCount() const noexcept;
  IKBValue GetConstraintFloat(std::int32_t Index) const;

  // Adds the value to the list of its kind unless it is there; raises
  // _SInvalidConstraint when its kind is not in force.
  void AddConstraint(const IKBValue& Value);
  void RemoveConstraint(const IKBValue& Value);
  // Raises _SNoSuchConstraint for a kind not in force.
  void DeleteConstraint(std::int32_t Index, TValueConstraint Kind);
  void ClearConstraints();
  void ClearConstraints(TValueConstraints Kinds);
  // Whether the value is in the allowed list of its kind; Kind is that kind.
  bool IsConstraint(const IKBValue& Value, TValueConstraint& Kind) const;

  // ------------------------------------------------------------ checks
  bool IsValid(const IKBValue& Value) const;
  // Empty for a valid value, else _SInvalidValue with the reason.
  std::string GetInvalidValueString(const IKBValue& Value) const;
  // The default of a slot of this type.
  virtual IKBValue CreateValidDefault(bool AsList) const;
  std::string GetValueToString(const IKBValue& Value) const;

  // ------------------------------------------------------------ updates
  void BeginUpdate();
  // On the way back to 0, Change runs once more.
  void EndUpdate();

  // ------------------------------------------------------------ copying
  void Assign(const IInterface& Source) override;
  void Assign(TPersistent* Source) override;
  IKBDefinedType Clone() const;
  IInterface CloneInterface() const override;
  // Names, base types, bounds, cardinalities, limits and allowed lists, or
  // the fuzzy variables of two fuzzy types.
  bool Equals(const IInterface& Other) const override;
  // The reasoner's text of the type; the bare name without a reasoner.
  std::string ToString() const override;

protected:
  ~TKBDefinedType() override;
  // Appends the type's text to a TStrings.
  void AssignTo(TPersistent* Dest) override;
  virtual void SetUpdateState(bool Updating);
  virtual void Change();
  // Makes a new instance of this class for Clone.
  virtual IKBDefinedType NewInstance() const;

private:
  TValueConstraint GetValueConstraint(const IKBValue& Value) const;
  void ClearConstraint(TValueConstraint Kind);
  void AssignType(const TKBDefinedType& Source);

  TKBTypes FBaseTypes = KBSlotTypes;
  TKBName FName = SImplicitDefinedType;
  double FMaxRange = KBOpenMaxRange;
  double FMinRange = KBOpenMinRange;
  std::int32_t FMaxCardinality = KBOpenMaxCardinality;
  std::int32_t FMinCardinality = 0;
  IFuzzyVariable FFuzzyType;
  TValueConstraints FConstraints;
  // Each list exists while its kind is in FConstraints. Atoms and strings
  // compare without regard to case.
  std::unique_ptr<TStringList<>> FConstraintAtoms;
  std::unique_ptr<std::vector<std::int32_t>> FConstraintIntegers;
  std::unique_ptr<TStringList<>> FConstraintStrings;
  IValueVector FConstraintFloats;
  IReasoner* FReasoner = nullptr;
  bool FRangeLimited = false;
  bool FCardinalityLimited = false;
  std::string FComment;
  std::string FUnits;
  bool FImplicit = false;
  IKBDefinedType FAncestor;
  TNotifyEvent FOnChange;
  std::int32_t FUpdateCount = 0;
};

// Each allowed item of one kind followed by one blank: atoms as they stand,
// strings quoted, integers in decimal, floats with four decimals.
std::string ConstraintToString(const TKBDefinedType& Type, TValueConstraint Kind);
// The allowed clauses of a type, each on its own indented line.
std::string GetAllowedString(const TKBDefinedType& Type);

}  // namespace cogent
