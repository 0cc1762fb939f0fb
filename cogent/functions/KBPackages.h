#pragma once
// The function framework. This unit grows into functions, calls and packages;
// for now it holds the root of the call family as far as values need it.

#include <cstdint>
#include <string>

#include "cogent/values/KBValue.h"

namespace cogent {

// A compiled call: a function name and raw, unevaluated arguments. Execute
// runs it in a context and gives its result.
class TFunctionCall : public TPersistent, public TRefCounted, public ICloneable {
public:
  explicit TFunctionCall(std::string AName = {}) : FName(std::move(AName)) {}

  const std::string& GetName() const noexcept { return FName; }
  virtual IKBValue Execute(TObject* Context);
  virtual bool Equals(const IFunCall& Other) const;
  bool Equals(const IInterface& Other) const override;
  virtual std::int32_t GetHashCode() const;
  std::string ToString() const override;

  void Assign(const IInterface& Source) override;
  using TPersistent::Assign;
  IInterface CloneInterface() const override;
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

protected:
  ~TFunctionCall() override = default;

private:
  std::string FName;
  std::intptr_t FTag = 0;
};

}  // namespace cogent

namespace cogent {

// A component that groups functions and registers them with the engine that
// owns it. The registration comes with the function framework.
class TUserPackage : public TComponent {
public:
  explicit TUserPackage(TComponent* AOwner) : TComponent(AOwner) {}
  ~TUserPackage() override { Destroying(); }
};

}  // namespace cogent
