// Saving and loading one kind of construct, copying a whole engine, and the
// bookkeeping of a load from a component stream. The saved form of every
// construct is its rule-language text, and a copy between engines goes
// through the same text wherever a construct belongs to its engine.

#include <algorithm>

#include "cogent/common/VXCommon.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/host/ComponentStreams.h"
#include "cogent/host/Guards.h"
#include "cogent/host/SafeSave.h"

namespace cogent {

namespace {

template <class Item>
void WriteConstructs(TStream& Stream, TEncoding* Encoding, const std::vector<Item>& Items) {
  WritePreambleToStream(Stream, Encoding);
  for (const Item& Construct : Items)
    if (Construct) WriteStringToStream(Stream, Construct->ToString() + sLineBreak, Encoding);
}

// The text a rule came from; a rule built through the programming interface
// has none and writes itself.
std::string RuleText(const TRule& Rule) { return Rule.GetSource().empty() ? Rule.ToString() : Rule.GetSource(); }

}  // namespace

// ---------------------------------------------------------------- one kind of construct

void TInferenceEngine::SaveDefinedTypes(TStream& Stream, TEncoding* Encoding) {
  WriteConstructs(Stream, Encoding,
                  FCache.DefinedTypes ? FCache.DefinedTypes->GetValues().ToArray() : std::vector<IKBDefinedType>());
}

void TInferenceEngine::SaveDefinedTypes(const std::string& FileName, TEncoding* Encoding) {
  SaveFileWhole(FileName, [&](TStream& Stream) { SaveDefinedTypes(Stream, Encoding); });
}

void TInferenceEngine::LoadDefinedTypes(TStream& Stream, TEncoding* Encoding) {
  ParseFrame(Stream, Encoding, [this](TKBParser& Parser) {
    if (FCache.DefinedTypes) FCache.DefinedTypes->Clear();
    Parser.Parse(true);
  });
}

void TInferenceEngine::LoadDefinedTypes(const std::string& FileName, TEncoding* Encoding) {
  TFileStream File(FileName, fmOpenRead);
  LoadDefinedTypes(File, Encoding);
}

void TInferenceEngine::SaveFactTemplates(TStream& Stream, TEncoding* Encoding) {
  WriteConstructs(Stream, Encoding,
                  FCache.FactTemplates ? FCache.FactTemplates->GetValues().ToArray() : std::vector<IFactTemplate>());
}

void TInferenceEngine::SaveFactTemplates(const std::string& FileName, TEncoding* Encoding) {
  SaveFileWhole(FileName, [&](TStream& Stream) { SaveFactTemplates(Stream, Encoding); });
}

void TInferenceEngine::LoadFactTemplates(TStream& Stream, TEncoding* Encoding) {
  ParseFrame(Stream, Encoding, [this](TKBParser& Parser) {
    if (FCache.FactTemplates) FCache.FactTemplates->Clear();
    Parser.Parse(true);
  });
}

void TInferenceEngine::LoadFactTemplates(const std::string& FileName, TEncoding* Encoding) {
  TFileStream File(FileName, fmOpenRead);
  LoadFactTemplates(File, Encoding);
}

void TInferenceEngine::SaveRules(TStream& Stream, TEncoding* Encoding) {
  WriteConstructs(Stream, Encoding, FCache.Rules ? FCache.Rules->GetValues().ToArray() : std::vector<TRule*>());
}

void TInferenceEngine::SaveRules(const std::string& FileName, TEncoding* Encoding) {
  SaveFileWhole(FileName, [&](TStream& Stream) { SaveRules(Stream, Encoding); });
}

void TInferenceEngine::LoadRules(TStream& Stream, TEncoding* Encoding) {
  ParseFrame(Stream, Encoding, [this](TKBParser& Parser) {
    if (FCache.Rules) FCache.Rules->Clear();
    Parser.Parse(true);
  });
}

void TInferenceEngine::LoadRules(const std::string& FileName, TEncoding* Encoding) {
  TFileStream File(FileName, fmOpenRead);
  LoadRules(File, Encoding);
}

void TInferenceEngine::SaveModules(TStream& Stream, TEncoding* Encoding) {
  WritePreambleToStream(Stream, Encoding);
  WriteStringToStream(Stream, FModules->ToString() + sLineBreak, Encoding);
}

void TInferenceEngine::SaveModules(const std::string& FileName, TEncoding* Encoding) {
  SaveFileWhole(FileName, [&](TStream& Stream) { SaveModules(Stream, Encoding); });
}

void TInferenceEngine::LoadModules(TStream& Stream, TEncoding* Encoding) {
  ParseFrame(Stream, Encoding, [this](TKBParser& Parser) {
    FModules->Clear();
    // The engine is never without its main module, which the text may
    // then define anew.
    if (FModules->GetCount() == 0) {
      AddModule(IModule(new TModule(this, true)));
      PushFocus(FModules->Get(0));
    }
    Parser.Parse(true);
  });
}

void TInferenceEngine::LoadModules(const std::string& FileName, TEncoding* Encoding) {
  TFileStream File(FileName, fmOpenRead);
  LoadModules(File, Encoding);
}

void TInferenceEngine::SaveFacts(const std::string& FileName, const std::vector<std::string>& TemplateNames,
                                 TEncoding* Encoding) {
  SaveFileWhole(FileName, [&](TStream& Stream) {
    for (const std::string& Name : TemplateNames) SaveFacts(Stream, Name, Encoding);
  });
}

// ---------------------------------------------------------------- copying an engine

void TInferenceEngine::Assign(TPersistent* Source) {
  auto* Other = dynamic_cast<TInferenceEngine*>(Source);
  if (!Other) {
    TComponent::Assign(Source);
    return;
  }
  if (Other == this) return;
  Clear();
  SetParserType(Other->FParserType);
  SetTokenizerType(Other->FTokenizerType);
  if (FParser && Other->FParser) {
    // The switches come over; a stream lent to the other parser stays there.
    TGTextStream* Own = FParser->GetStream();
    FParser->Assign(Other->FParser.get());
    FParser->SetStream(Own);
  }
  // Nothing is checked while the copy is made.
  SetTypeChecks(TTypeChecks());
  FEvalSalience = Other->FEvalSalience;
  FStrategy = Other->FStrategy;
  SetFactDuplication(Other->FFactDuplication);
  FDuplicateConstructs = Other->FDuplicateConstructs;
  SetParserMaxErrors(Other->FParserMaxErrors);
  SetParserErrorHandling(Other->FParserErrorHandling);
  FWatch = Other->FWatch;
  FResetGlobals = Other->FResetGlobals;
  FUserFunctions->Assign(*Other->FUserFunctions, true);
  FFuzzyAutoTerms = Other->FFuzzyAutoTerms;
  FFuzzyEqualsThreshold = Other->FFuzzyEqualsThreshold;
  FFuzzyCorrelationMethod = Other->FFuzzyCorrelationMethod;
  FFuzzyInferenceMethod = Other->FFuzzyInferenceMethod;
  SetMinActivationStrength(Other->FMinActivationStrength);
  AssignModules(*Other);
  FGlobalVariables->Assign(Other->FGlobalVariables.get());

  // The stack from its bottom to its top, so that it reads the same.
  FFocusStack->Clear();
  for (int I = Other->FFocusStack->GetCount() - 1; I >= 0; --I)
    if (const IModule& Module = Other->FFocusStack->GetRef(I)) PushFocus(FModules->GetModule(Module->GetName()));
  if (Other->FCurrentModule) FModules->GetModule(Other->FCurrentModule->GetName())->FocusModule();
  SetTypeChecks(Other->FTypeChecks);
}

void TInferenceEngine::AssignModules(const TInferenceEngine& Source) {
  // Exporters come before the modules that import from them, so one pass
  // in the source's order finds each exporter filled.
  for (const IModule& SourceModule : *Source.FModules) {
    if (!SourceModule) continue;
    IModule Module;
    const int Index = FModules->IndexOf(SourceModule->GetName());
    if (SourceModule->IsMain() && FModules->GetCount() > 0 && FModules->GetRef(0)->IsMain()) {
      Module = FModules->Get(0);
    } else if (Index >= 0) {
      Module = FModules->Get(Index);
    } else {
      Module = IModule(new TModule(this, SourceModule->IsMain()));
      Module->SetName(SourceModule->GetName());
      AddModule(Module);
    }
    Module->AssignModuleDefinition(SourceModule);
    const TFocusBack Back(FCurrentModule, Module);
    Module->ImportConstructs();

    // Types and templates the module owns, read from their text; those this
    // engine made for itself (the initial fact's) are there already.
    std::string Text;
    for (const IKBDefinedType& DefType : SourceModule->GetDefinedTypes()->Locals()) {
      IKBDefinedType Here;
      if (!FCache.DefinedTypes->TryGetValue(DefType->GetName(), Here)) Text += PrettyPrint(*DefType) + sLineBreak;
    }
    for (const IFactTemplate& Template : SourceModule->GetFactTemplates()->Locals()) {
      IFactTemplate Here;
      if (!FCache.FactTemplates->TryGetValue(Template->GetTemplateName(), Here) || !Here->Equals(Template))
        Text += PrettyPrint(Template) + sLineBreak;
    }
    if (!Text.empty()) Parse(Text, false);

    // Fact sets, facts and rules, in that order.
    const TFactSets* FactSets = SourceModule->GetFactSets();
    for (int I = 0; I < FactSets->GetCount(); ++I)
      if (const TFactSet* FactSet = FactSets->GetItem(I)) Parse(FactSet->ToString(), false);
    // Facts at home here; the imported ones came with the import.
    for (const IFact& Fact : *SourceModule->GetFacts()) {
      const IFactTemplate Template = Fact ? Fact->GetTemplate() : IFactTemplate();
      if (Template && Template->GetModuleObject() == SourceModule.get()) Assert(Fact->ToString());
    }
    for (TRule* Rule : SourceModule->GetRules()->GetValues().ToArray())
      if (Rule) Parse(RuleText(*Rule), false);
  }
}

// ---------------------------------------------------------------- component loading

void TInferenceEngine::Reload(TComponent* AComponent) {
  if (!AComponent || std::find(FReloadComps.begin(), FReloadComps.end(), AComponent) != FReloadComps.end()) return;
  FReloadComps.push_back(AComponent);
  // To hear of it if it goes first.
  if (AComponent->GetOwner() != this) AComponent->FreeNotification(this);
}

void TInferenceEngine::DefineProperties(TFiler& Filer) {
  TComponent::DefineProperties(Filer);
  // The tables first, as a stream sets the published properties before the
  // defined ones: facts and fact sets read then find their templates.
  Filer.DefineChild("DefinedTypes", *FCache.DefinedTypes);
  Filer.DefineChild("FactTemplates", *FCache.FactTemplates);
  Filer.DefineChild("Rules", *FCache.Rules);
  Filer.DefineChild("GlobalVariables", *FGlobalVariables);
  // The text is read when the whole component is there (Loaded).
  Filer.DefineProperty(
      "ModuleText", [this](const std::string& Text) { FModuleText = Text; },
      [this] { return GetExpertSystem(true); }, FModules->GetCount() > 0);
  Filer.DefineListProperty(
      "FactsList",
      [this](const std::vector<std::string>& Texts) {
        for (const std::string& Text : Texts) Assert(Text);
      },
      nullptr, false);
  Filer.DefineListProperty(
      "FactSets",
      [this](const std::vector<std::string>& Texts) {
        for (const std::string& Text : Texts)
          if (std::unique_ptr<TFactSet> FactSet = ParseFactSet(Text)) FCache.FactSets->Add(FactSet.release());
      },
      nullptr, false);
}

void TInferenceEngine::Loaded() {
  TComponent::Loaded();
  // The module text may assert and focus before any package has come: the
  // functions it needs stand in for the time of the reading.
  std::vector<IUserFunction> StandIns;
  const TFinally Release([&StandIns] {
    for (const IUserFunction& Function : StandIns) Function->ClearReasoners();
  });
  static constexpr const char* Needed[][2] = {{"assert", "TAssertFunction"}, {"focus", "TFocusModuleFunction"}};
  for (const auto& [Name, ClassName] : Needed) {
    if (FUserFunctions->ContainsKey(Name)) continue;
    const TMetaClass* Class = TMetaClass::FindClass(ClassName);
    if (!Class || !Class->CanCreate()) continue;
    TObject* Instance = Class->CreateInstance(nullptr);
    auto* Function = dynamic_cast<TKBUserFunction*>(Instance);
    if (!Function) {
      delete Instance;
      continue;
    }
    const IUserFunction Held(Function);
    Held->SetFunctionName(Name);
    Held->AddReasoner(this);
    StandIns.push_back(Held);
  }
  if (FCache.Rules)
    for (TRule* Rule : FCache.Rules->GetValues().ToArray())
      if (Rule && Rule->GetOwner() != this) Reload(Rule);
  const std::string Text = std::move(FModuleText);
  FModuleText.clear();
  if (!Text.empty()) Parse(Text, true);
  const std::vector<TComponent*> Waiting = std::move(FReloadComps);
  FReloadComps.clear();
  for (TComponent* Component : Waiting) {
    if (auto* Rule = dynamic_cast<TRule*>(Component))
      Rule->Reload();
    else if (auto* FactSet = dynamic_cast<TFactSet*>(Component))
      FactSet->Reload();
  }
}

}  // namespace cogent
