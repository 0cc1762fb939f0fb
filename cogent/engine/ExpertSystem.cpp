// The whole system as rule text: written, read back, saved to files.

#include <algorithm>
#include <ctime>
#include <string>
#include <vector>

#include "cogent/common/VXTextStream.h"
#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/facts/KBPrinter.h"
#include "cogent/host/Guards.h"
#include "cogent/host/SafeSave.h"
#include "cogent/host/Streams.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

namespace {

constexpr const char* RuleLine = "; *************************";

// The local date and time for the head of a saved system; nothing reads it.
std::string NowText() {
  const std::time_t Now = std::time(nullptr);
  std::tm Local{};
#ifdef _WIN32
  localtime_s(&Local, &Now);
#else
  localtime_r(&Now, &Local);
#endif
  char Text[32] = {};
  return std::strftime(Text, sizeof Text, "%Y-%m-%d %H:%M:%S", &Local) > 0 ? std::string(Text) : std::string();
}

// While the system is written each module's constructs follow its defmodule,
// so names go without their module.
class TUnqualifiedPrinting {
public:
  explicit TUnqualifiedPrinting(TKBParser* Parser) : FParser(Parser) {
    if (FParser) FParser->SetPrintModuleQualifiers(false);
  }
  ~TUnqualifiedPrinting() {
    if (FParser) FParser->SetPrintModuleQualifiers(true);
  }
  TUnqualifiedPrinting(const TUnqualifiedPrinting&) = delete;
  TUnqualifiedPrinting& operator=(const TUnqualifiedPrinting&) = delete;

private:
  TKBParser* FParser;
};

}  // namespace

std::string TInferenceEngine::PrettyPrintGlobalVariables() const {
  // The keys keep their "?" as written.
  std::string Result = "(defglobal";
  if (FGlobalVariables)
    for (const auto& Item : *FGlobalVariables) Result += " " + cogent::PrettyPrint(Item.Key, Item.Value);
  return Result + ")";
}

std::string TInferenceEngine::GetExpertSystem(bool Compact) {
  const TUnqualifiedPrinting Unqualified(FParser.get());
  std::string Result;
  if (!Compact) {
    Result += std::string(RuleLine) + sLineBreak;
    Result += "; Inference Engine v" + Format("%.4f", static_cast<double>(FVersion)) + " Output" + sLineBreak;
    Result += "; Created: " + NowText() + sLineBreak;
    Result += "; Number of Global Variables: " + IntToStr(FGlobalVariables ? FGlobalVariables->GetCount() : 0) +
              sLineBreak;
    Result += "; Number of Modules:          " + IntToStr(FModules ? FModules->GetCount() : 0) + sLineBreak;
    // The function's switch speaks of ignoring duplicates.
    Result += std::string(FFactDuplication ? "(set-fact-duplication FALSE)" : "(set-fact-duplication TRUE)") +
              sLineBreak;
    if (FUserFunctions && FUserFunctions->GetNumInterpreted() > 0) {
      // In the order of definition, so that each follows those it may call.
      std::vector<const TInterpretedFunction*> Functions;
      for (const auto& Item : *FUserFunctions)
        if (const auto* Function = dynamic_cast<const TInterpretedFunction*>(Item.Value.get()))
          Functions.push_back(Function);
      std::stable_sort(Functions.begin(), Functions.end(),
                       [](const auto* A, const auto* B) { return A->GetOrder() < B->GetOrder(); });
      Result += std::string(sLineBreak) + RuleLine + sLineBreak + "; Deffunctions " + sLineBreak;
      for (const TInterpretedFunction* Function : Functions) Result += sLineBreak + cogent::PrettyPrint(*Function);
    }
    // After the deffunctions, which an initial value may call.
    if (FGlobalVariables && FGlobalVariables->GetCount() > 0)
      Result += std::string(sLineBreak) + RuleLine + sLineBreak + "; Global Variables " + sLineBreak + sLineBreak +
                PrettyPrintGlobalVariables() + sLineBreak;
  }
  if (FModules)
    for (const IModule& Module : *FModules)
      if (Module) Result += Module->GetExpertSystem(!Compact, false);
  if (FFocusStack && FFocusStack->GetCount() > 0)
    Result += std::string(sLineBreak) + "(focus " + FFocusStack->ToNamesString(" ") + ")" + sLineBreak;
  return Result;
}

void TInferenceEngine::SetExpertSystem(const std::string& AString) {
  ParseFrame(AString, nullptr, [this](TKBParser& Parser) {
    Clear();
    Parser.Parse(true);
    Reset();
  });
}

void TInferenceEngine::SaveToStream(TStream& Stream, TEncoding* Encoding) {
  const std::string Text = GetExpertSystem();
  WritePreambleToStream(Stream, Encoding);
  WriteStringToStream(Stream, Text, Encoding);
}

void TInferenceEngine::SaveToFile(const std::string& FileName, TEncoding* Encoding) {
  SaveFileWhole(FileName, [&](TStream& Stream) { SaveToStream(Stream, Encoding); });
}

}  // namespace cogent
