#pragma once
// Facts. This unit grows into the working-memory classes; for now it holds the
// root of the fact family as far as values need it: equality, hash, text.

#include <cstdint>
#include <string>

#include "cogent/values/KBValue.h"

namespace cogent {

class TFact : public TPersistent, public TRefCounted, public ICloneable {
public:
  TFact() = default;
  explicit TFact(const IFactTemplate& ATemplate) : FTemplate(ATemplate) {}

  IFactTemplate GetTemplate() const { return FTemplate; }

  // Identity until facts carry slots; subclasses compare their contents.
  virtual bool Equals(const IFact& Other) const { return Other.get() == this; }
  bool Equals(const IInterface& Other) const override;
  virtual std::int32_t GetHashCode() const;
  std::string ToString() const override { return "<Fact>"; }

  void Assign(const IInterface& Source) override;
  using TPersistent::Assign;
  IInterface CloneInterface() const override;
  std::intptr_t GetTag() const override { return FTag; }
  void SetTag(std::intptr_t Value) override { FTag = Value; }

protected:
  ~TFact() override = default;

private:
  IFactTemplate FTemplate;
  std::intptr_t FTag = 0;
};

}  // namespace cogent

#include "cogent/facts/KBModule.h"

namespace cogent {

// A fact template: a relation name with its slots. Slots, defaults and
// inheritance come with working memory; for now a template is its name, its
// comment and its home module.
class TFactTemplate : public TModuleConstruct {
public:
  TFactTemplate(TComponent* AEngine, const TKBName& AName);

  const TKBName& GetName() const noexcept { return FName; }
  void SetName(const TKBName& Value);
  const std::string& GetComment() const noexcept { return FComment; }
  void SetComment(const std::string& Value) { FComment = Value; }
  TComponent* GetEngine() const noexcept { return FEngine; }
  // A new fact of this template.
  IFact NewFact();

protected:
  ~TFactTemplate() override = default;

private:
  TComponent* FEngine;
  TKBName FName;
  std::string FComment;
};

}  // namespace cogent
