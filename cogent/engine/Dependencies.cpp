// Renaming, removing and redefining templates and defined types while facts,
// rules and other modules depend on them.
//
// A template that goes takes its facts, its pending facts and the rules that
// match it along, in every module that shares it; a fact set keeps the text
// of its facts and reads them again at its next reset. A template defined
// anew under its name keeps its dependents as far as their text still reads:
// each is written down, taken away, and read again against the new template.

#include <exception>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/Guards.h"
#include "cogent/matching/ReteNetwork.h"

namespace cogent {

namespace {

// The modules that import Construct, each held while the list is worked
// through, since working through it changes it.
template <class T>
std::vector<IModule> ImportModulesOf(const T& Construct) {
  std::vector<IModule> Modules;
  for (int I = 0; I < Construct.GetImportModuleCount(); ++I) Modules.push_back(Construct.GetImportModule(I));
  return Modules;
}

// Takes Construct, which Home owns, out of the modules that imported it:
// each removes it from its table (TableOf), which takes its dependents there
// along, or, not holding it, is only struck from its list.
template <class T, class F>
void LeaveImporters(const IModule& Home, const Ref<T>& Construct, const TKBName& Name, F TableOf) {
  Construct->RemoveImportModule(Home.get());
  while (Construct->GetImportModuleCount() > 0) {
    const IModule Importer = Construct->GetImportModule(0);
    const TFocusBack Back(Home, Importer);
    auto* Table = TableOf(*Importer);
    Ref<T> Stored;
    if (Table && Table->TryGetValue(Name, Stored) && Stored == Construct)
      Table->Remove(Name);
    else
      Construct->RemoveImportModule(Importer.get());
  }
}

// Puts New in Old's place in every module that still lists Old; each
// replacement works through that module's dependents.
template <class T, class F>
void ReplaceInImporters(const IModule& Current, const Ref<T>& Old, const Ref<T>& New, F TableOf) {
  while (Old->GetImportModuleCount() > 0) {
    const IModule Module = Old->GetImportModule(0);
    const TFocusBack Back(Current, Module);
    auto* Table = TableOf(*Module);
    if (Table && Table->ContainsValue(Old))
      Table->Replace(Old, New);
    else
      Old->RemoveImportModule(Module.get());
  }
}

// Takes out of Rules each rule that Depends picks; with Dependents, the
// source of each goes there first to be read again.
template <class F>
void RemoveRules(TRules* Rules, F Depends, TStringList<IInterface>* Dependents) {
  if (!Rules) return;
  std::vector<std::pair<TKBName, TRule*>> Picked;
  for (const auto& Item : *Rules) {
    if (!Item.Value || !Depends(*Item.Value)) continue;
    // A rule built in code has no source and cannot be read again.
    if (Dependents && !Item.Value->GetSource().empty()) Dependents->Add(Item.Value->GetSource());
    Picked.emplace_back(Item.Key, Item.Value);
  }
  for (const auto& [Name, Rule] : Picked) Rules->Remove(Name, Rule);
}

TFactTemplates* TemplatesOf(TModule& Module) { return Module.GetFactTemplates(); }
TKBDefinedTypes* TypesOf(TModule& Module) { return Module.GetDefinedTypes(); }

}  // namespace

// ---------------------------------------------------------------- renaming

void TInferenceEngine::RenameFactTemplate(TFactTemplate* Template, const TKBName& OldName, const TKBName& NewName) {
  if (!Template || OldName == NewName) return;
  const IFactTemplate Renamed(Template);
  // Every table that holds the template must take the new name before any changes.
  std::vector<TFactTemplates*> Tables;
  for (const IModule& Module : *FModules) {
    TFactTemplates* Table = Module ? Module->GetFactTemplates() : nullptr;
    IFactTemplate Stored;
    if (!Table || !Table->TryGetValue(OldName, Stored) || Stored != Renamed) continue;
    IFactTemplate Other;
    if (Table->TryGetValue(NewName, Other) && Other != Renamed)
      throw EKBException(Format(_SDuplicateTemplateNames, NewName));
    Tables.push_back(Table);
  }
  // Patterns and facts hold the template itself, so they follow it.
  for (TFactTemplates* Table : Tables) Table->Rekey(Renamed, OldName, NewName);
}

void TInferenceEngine::RenameDefinedType(TKBDefinedType* DefinedType, const TKBName& OldName, const TKBName& NewName) {
  if (!DefinedType || OldName == NewName) return;
  // A type that no table holds may be held by nobody at all, so it is
  // compared by address and taken by handle only once a table has it.
  IKBDefinedType Renamed;
  std::vector<TKBDefinedTypes*> Tables;
  for (const IModule& Module : *FModules) {
    TKBDefinedTypes* Table = Module ? Module->GetDefinedTypes() : nullptr;
    IKBDefinedType Stored;
    if (!Table || !Table->TryGetValue(OldName, Stored) || Stored.get() != DefinedType) continue;
    IKBDefinedType Other;
    if (Table->TryGetValue(NewName, Other) && Other != Stored)
      throw EKBException(Format(_SDuplicateDefTypeNames, NewName));
    Renamed = Stored;
    Tables.push_back(Table);
  }
  for (TKBDefinedTypes* Table : Tables) Table->Rekey(Renamed, OldName, NewName);
}

// ---------------------------------------------------------------- what depends on a template

bool TInferenceEngine::IsDependent(const IKBValue& Value, const IFactTemplate& Template) {
  if (!Value) return false;
  switch (Value->GetDType()) {
    case dtFunCall:
      return IsDependent(Value->GetAsFunCall(), Template);
    case dtFact: {
      const IFact Fact = Value->GetAsFact();
      return Fact && Fact->GetTemplate() == Template;
    }
    case dtList:
      if (const IValueVector List = Value->GetAsList())
        for (int I = 0; I < List->GetCount(); ++I)
          if (IsDependent(List->Get(I), Template)) return true;
      return false;
    default:
      return false;
  }
}

bool TInferenceEngine::IsDependent(const IFunCall& Call, const IFactTemplate& Template) {
  if (!Call) return false;
  for (int I = 0; I < Call->GetArgumentCount(); ++I)
    if (IsDependent(Call->GetArgument(I), Template)) return true;
  return false;
}

bool TInferenceEngine::IsDependent(const TRule& Rule, const IFactTemplate& Template) {
  if (HasPatternOf(Rule, Template)) return true;
  const TRuleActionList& Actions = *Rule.GetActions();
  for (int I = 0; I < Actions.GetCount(); ++I)
    if (IsDependent(Actions.GetItem(I), Template)) return true;
  return false;
}

bool TInferenceEngine::HasPatternOf(const TRule& Rule, const IFactTemplate& Template) {
  for (int I = 0; I < Rule.GetPatternCount(); ++I)
    if (const TKBPattern* Pattern = Rule.GetPattern(I); Pattern && Pattern->GetTemplate() == Template) return true;
  return false;
}

// ---------------------------------------------------------------- removing what depends on a template

void TInferenceEngine::RemoveDependencies(const IFactTemplate& Template) {
  if (!Template) return;
  const std::vector<IModule> Modules = ImportModulesOf(*Template);
  for (auto Module = Modules.rbegin(); Module != Modules.rend(); ++Module) RemoveDependencies(*Module, Template);
}

void TInferenceEngine::RemoveFactsOf(const IFactTemplate& Template, TDependents* Dependents) {
  if (TFactsPending* Pending = FCache.FactsPending)
    for (int I = Pending->GetCount() - 1; I >= 0; --I)
      if (const IFact Fact = Pending->GetData(I).As<TFact>(); Fact && Fact->GetTemplate() == Template)
        Pending->Delete(I);
  if (TFacts* Facts = FCache.Facts)
    for (int I = Facts->GetCount() - 1; I >= 0; --I) {
      if (I >= Facts->GetCount()) continue;
      const IFact Fact = Facts->Get(I);
      if (!Fact || Fact->GetTemplate() != Template) continue;
      if (Dependents) Dependents->AddObject(Fact->ToString(), nullptr, IInterface(Fact));
      Facts->Delete(I);
    }
  // A fact set reads the text of such a fact again when it next needs it.
  if (TFactSets* FactSets = FCache.FactSets)
    for (int I = 0; I < FactSets->GetCount(); ++I) {
      TFactSetFacts* Facts = FactSets->GetItem(I)->GetFacts();
      for (int J = 0; J < Facts->GetCount(); ++J)
        if (const IFact Fact = Facts->GetFactData(J); Fact && Fact->GetTemplate() == Template)
          Facts->PutFactData(J, nullptr);
    }
}

void TInferenceEngine::RemoveDependencies(const IModule& Module, const IFactTemplate& Template) {
  if (!Module || !Template) return;
  const TFocusBack Back(FCurrentModule, Module);
  RemoveFactsOf(Template, nullptr);
  RemoveRules(FCache.Rules, [&Template](const TRule& Rule) { return HasPatternOf(Rule, Template); }, nullptr);
  // Taken out quietly: the removal that brought us here is under way.
  if (TFactTemplates* Templates = FCache.FactTemplates; !Templates || !Templates->Forget(Template))
    Template->RemoveImportModule(Module.get());
}

void TInferenceEngine::RemoveDependencies(const IFactTemplate& Template, TDependents& Dependents) {
  if (!Template) return;
  RemoveFactsOf(Template, &Dependents);
  RemoveRules(FCache.Rules, [&Template](const TRule& Rule) { return IsDependent(Rule, Template); }, &Dependents);
  Template->RemoveImportModule(FCurrentModule.get());
}

void TInferenceEngine::RemoveDependencies() {
  TFactTemplates* Templates = FCache.FactTemplates;
  if (Templates && FModules->GetCount() > 1) {
    const IModule Here = FCurrentModule;
    for (const IFactTemplate& Template : Templates->GetValues().ToArray()) {
      if (!Template) continue;
      if (Template->GetModuleObject() != Here.get()) {
        RemoveDependencies(Here, Template);
        continue;
      }
      LeaveImporters(Here, Template, Template->GetTemplateName(), TemplatesOf);
    }
  }
  if (FCache.FactsPending) FCache.FactsPending->Clear();
  if (FCache.Rete) FCache.Rete->Clear();
  if (FCache.Facts) FCache.Facts->Clear();
  if (FCache.Rules) FCache.Rules->Clear();
}

// ---------------------------------------------------------------- reading dependents again

void TInferenceEngine::UpdateDependencies(const TDependents& Dependents) {
  if (Dependents.GetCount() == 0) return;
  // Each dependent is read on its own, and one that no longer reads does not
  // keep the others away: the first error is raised once all were tried.
  const TErrorHandling Handling = FParser->GetErrorHandling();
  const bool Echo = FParser->GetEcho();
  const TFinally Restore([this, Handling, Echo] {
    FParser->SetErrorHandling(Handling);
    FParser->SetEcho(Echo);
  });
  FParser->SetErrorHandling(ehRaiseImmediate);
  FParser->SetEcho(false);
  std::exception_ptr First;
  for (int I = 0; I < Dependents.GetCount(); ++I) {
    try {
      const std::string& Text = Dependents.GetString(I);
      if (const IFact Old = Dependents.GetData(I).As<TFact>())
        UpdateDependentFact(Old, ParseFact(Text));
      else
        Parse(Text, true);
    } catch (...) {
      if (!First) First = std::current_exception();
    }
  }
  if (First) std::rethrow_exception(First);
}

void TInferenceEngine::UpdateDependentFact(const IFact&, const IFact& NewFact) {
  if (NewFact) Assert(NewFact, false);
}

// ---------------------------------------------------------------- redefining a template

void TInferenceEngine::ReplaceTemplate(const IFactTemplate& Old, const IFactTemplate& New) {
  if (!Old || !New) return;
  if (Old->GetTemplateName() != New->GetTemplateName()) {
    RemoveDependencies(Old);
    ReplaceInImporters(FCurrentModule, Old, New, TemplatesOf);
    return;
  }
  TDependents Dependents;
  RemoveDependencies(Old, Dependents);
  // Each module that shares the template works through its own dependents.
  ReplaceInImporters(FCurrentModule, Old, New, TemplatesOf);
  // The module's own initial and null facts stand on templates of their own.
  const TKBPattern* Initial = FCache.InitialFactPattern;
  const IFact Null = FCache.NullFact;
  if ((Initial && Initial->GetTemplate() == Old) || (Null && Null->GetTemplate() == Old))
    FCurrentModule->RenewInitialFact(Initial != nullptr);
  UpdateDependencies(Dependents);
}

// ---------------------------------------------------------------- what depends on a type

void TInferenceEngine::RemoveDependencies(const IKBDefinedType& DefType) {
  if (!DefType) return;
  const std::vector<IModule> Modules = ImportModulesOf(*DefType);
  for (auto Module = Modules.rbegin(); Module != Modules.rend(); ++Module) RemoveDependencies(*Module, DefType);
}

void TInferenceEngine::RemoveDependencies(const IModule& Module, const IKBDefinedType& DefType) {
  if (!Module || !DefType) return;
  const TFocusBack Back(FCurrentModule, Module);
  if (TFactTemplates* Templates = FCache.FactTemplates)
    for (const IFactTemplate& Template : Templates->GetValues().ToArray())
      if (Template && Template->ContainsType(DefType)) Templates->Remove(Template->GetTemplateName());
  if (TKBDefinedTypes* Types = FCache.DefinedTypes; !Types || !Types->Forget(DefType))
    DefType->RemoveImportModule(Module.get());
}

void TInferenceEngine::RemoveTypeDependencies() {
  TKBDefinedTypes* Types = FCache.DefinedTypes;
  if (Types && FModules->GetCount() > 1) {
    const IModule Here = FCurrentModule;
    for (const IKBDefinedType& DefType : Types->GetValues().ToArray()) {
      if (DefType && DefType->GetModuleObject() == Here.get())
        LeaveImporters(Here, DefType, DefType->GetName(), TypesOf);
    }
  }
  if (FCache.FactTemplates) FCache.FactTemplates->Clear();
}

// ---------------------------------------------------------------- redefining a type

void TInferenceEngine::ReplaceDefinedType(const IKBDefinedType& Old, const IKBDefinedType& New) {
  if (!Old || !New) return;
  if (Old->GetName() != New->GetName()) {
    for (const IModule& Module : ImportModulesOf(*Old)) RemoveDependencies(Module, Old);
    return;
  }
  ReplaceTypesInFactTemplates(Old, New);
  Old->RemoveImportModule(FCurrentModule.get());
  ReplaceInImporters(FCurrentModule, Old, New, TypesOf);
}

void TInferenceEngine::ReplaceTypesInFactTemplates(const IKBDefinedType& Old, const IKBDefinedType& New) {
  TFactTemplates* Templates = FCache.FactTemplates;
  if (!Templates) return;
  // The copies are made first and put in afterwards: each redefinition
  // changes the table.
  std::vector<std::pair<IFactTemplate, IFactTemplate>> Copies;
  for (const IFactTemplate& Template : Templates->GetValues().ToArray()) {
    if (!Template || Template->GetModuleObject() != FCurrentModule.get() || !Template->ContainsType(Old)) continue;
    const IFactTemplate Copy = Template->Clone(Template->GetAOwner());
    for (const auto& Item : Copy->GetSlots()) {
      const IFactSlot& Slot = Item.Value;
      if (!Slot) continue;
      const IKBDefinedType Type = Slot->GetExtendedTypeInfo();
      if (Type != Old && Type != New) continue;
      Slot->SetExtendedTypeInfo(New);
      // A default that was read against the old type is read against the new one.
      if (const IKBValue Default = Slot->GetSlotDefault(); Default && KBReparseTypes.Contains(Default->GetDType()))
        Slot->SetSlotDefault(ParseValue(Default->GetToString(), Slot));
    }
    Copies.emplace_back(Template, Copy);
  }
  for (const auto& [Template, Copy] : Copies) Templates->Replace(Template, Copy);
}

}  // namespace cogent
