#include "cogent/engine/KBCollections.h"

namespace cogent {

IFactTemplate TFactTemplates::Find(const TKBName& Name) const {
  for (const IFactTemplate& Template : FItems)
    if (Template->GetName() == Name) return Template;
  return nullptr;
}

void TFactTemplates::Add(const IFactTemplate& Template) {
  if (!Template) return;
  if (!Template->GetModuleObject()) Template->SetModule(FModule);
  Template->AddImportModule(FModule);
  FItems.push_back(Template);
}

void TFactTemplates::Clear() {
  std::vector<IFactTemplate> Items;
  Items.swap(FItems);
  for (const IFactTemplate& Template : Items) {
    Template->RemoveImportModule(FModule);
    if (Template->GetModuleObject() == FModule) Template->SetModule(nullptr);
  }
}

IModule TModules::GetModule(const std::string& Name) const {
  const int Index = IndexOf(Name);
  return Index < 0 ? IModule() : Get(Index);
}

int TModules::IndexOf(const std::string& Name) const {
  for (int I = 0; I < GetCount(); ++I)
    if (const IModule& Module = GetRef(I); Module && Module->GetName() == Name) return I;
  return -1;
}

std::string TModules::ToNamesString(const std::string& Separator) const {
  std::string Result;
  for (int I = 0; I < GetCount(); ++I) {
    if (I > 0) Result += Separator;
    if (const IModule& Module = GetRef(I)) Result += Module->GetName();
  }
  return Result;
}

}  // namespace cogent
