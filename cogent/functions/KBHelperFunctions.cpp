#include "cogent/functions/KBHelperFunctions.h"

namespace cogent {

void TBuiltInFunction::Describe(const TKBName& Name, const std::string& Comment, const std::string& Arguments,
                                std::int32_t Min, std::int32_t Max) {
  SetFunctionName(Name);
  FComment = Format(CommentFormat, Comment);
  FArgumentString = Arguments;
  SetMaxArgumentCount(Max);
  SetMinArgumentCount(Min);
}

TInferenceEngine& EngineOf(TKBContext* Context) {
  auto* Engine = Context ? dynamic_cast<TInferenceEngine*>(Context->GetEngine()) : nullptr;
  if (!Engine) throw EKBException(_SUnknownEngine);
  return *Engine;
}

TKBContext& ContextOf(TKBContext* Context) {
  if (!Context) throw EKBException(Format(_SNoContext, GetKBTypeName(dtVariable)));
  return *Context;
}

IKBValue ResolveArgument(const IFunCall& FunCall, int Index, TKBContext* Context) {
  const IKBValue Argument = FunCall->GetArgument(Index);
  return Argument ? Argument->Resolve(Context) : Argument;
}

IKBValue Evaluate(const IFunCall& FunCall, int Index, TKBContext* Context) {
  IKBValue Result = ResolveArgument(FunCall, Index, Context);
  if (!Result) throw EKBException(Format(SNoArgumentValue, Index + 1, FunCall->GetName()));
  return Result;
}

bool IsReturning(const TKBContext* Context) noexcept { return Context && Context->GetReturning(); }

bool RunSequence(const IFunCall& FunCall, int From, int To, TKBContext* Context, IKBValue& Result) {
  for (int I = From; I <= To; ++I) {
    Result = ResolveArgument(FunCall, I, Context);
    if (IsReturning(Context)) {
      Result = Context->GetReturnValue();
      return true;
    }
  }
  return false;
}

}  // namespace cogent
