// Deffunctions: how a function written in the rule language binds its
// parameters, runs its body and ends a return.

#include "cogent/facts/KBContext.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/foundation/KBMessages.h"
#include "cogent/host/Guards.h"

namespace cogent {

namespace {

constexpr TKBTypes ParameterTypes{dtAtom, dtVariable, dtMultiVariable};

// Each value's calls, nested ones and those inside lists too.
void ForgetFunctionsIn(const IKBValue& Value) {
  if (!Value) return;
  if (Value->GetDType() == dtFunCall) {
    if (const IFunCall Call = Value->GetAsFunCall()) Call->ForgetFunctions();
  } else if (Value->GetDType() == dtList) {
    if (const IValueVector List = Value->GetAsList())
      for (int I = 0; I < List->GetCount(); ++I) ForgetFunctionsIn(List->Get(I));
  }
}

}  // namespace

void TFunctionCall::ForgetFunctions() {
  FUserFunction = nullptr;
  for (const IKBValue& Argument : FArguments) ForgetFunctionsIn(Argument);
}

void TInterpretedFunction::AddArgument(const std::string& Name, TKBType Type) {
  if (!ParameterTypes.Contains(Type))
    throw EKBException(Format(_SInvalidArgType, GetKBTypeName(Type), SetToString(ParameterTypes, ", ", false)));
  FArguments->Add(IKBValue(new TKBValue(Name, Type)));
}

void TInterpretedFunction::AddStatement(const IFunCall& Statement) {
  FStatements->Add(IKBValue(new TKBValue(Statement)));
}

void TInterpretedFunction::AddStatement(const IKBValue& Statement) { FStatements->Add(Statement); }

std::int32_t TInterpretedFunction::GetMinArgumentCount() const { return GetArgumentCount(); }

std::int32_t TInterpretedFunction::GetMaxArgumentCount() const {
  const int Count = GetArgumentCount();
  if (Count > 0 && FArguments->Get(Count - 1)->GetDType() == dtMultiVariable) return NoArgumentLimit;
  return Count;
}

IKBValue TInterpretedFunction::Execute(const IFunCall& FunCall, TKBContext* Context) {
  IKBValue Result;
  Call(FunCall, Context, Result);
  return Result;
}

void TInterpretedFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TKBUserFunction::Call(FunCall, Context, Result);
  const int Given = FunCall ? FunCall->GetArgumentCount() : 0;
  int Required = 0;
  for (int I = 0; I < GetArgumentCount(); ++I)
    if (FArguments->Get(I)->GetDType() == dtVariable) ++Required;
  if (Given < Required) throw EKBException(Format(_STooFewArgs, GetFunctionName()));
  if (!Context) throw EKBException(Format(_SNoContext, GetFunctionName()));

  // The body may redefine or remove this function; what it runs stays.
  const IValueVector Parameters = FArguments;
  const IValueVector Statements = FStatements;
  const std::unique_ptr<TKBContext> Local = Context->Push();
  // Called from a pattern's test, an argument is a reference into the token
  // under test; it must find that token and fact as a built-in's would.
  Local->SetToken(Context->GetToken());
  Local->SetFact(Context->GetFact());
  const TFinally Pop([&Local] { Local->Pop(); });

  // Each argument is evaluated where the parameters before it are bound.
  for (int I = 0; I < Parameters->GetCount(); ++I) {
    const IKBValue Parameter = Parameters->Get(I);
    const std::string Name = Parameter->GetAsString();
    switch (Parameter->GetDType()) {
      case dtAtom:
        Local->SetVariable(Name, FCNil);
        break;
      case dtVariable:
        Local->AddLocalBinding(Name, FunCall->GetArgument(I)->Resolve(Local.get()));
        break;
      default: {
        const IValueVector Rest(new TValueVector());
        for (int J = I; J < Given; ++J) Rest->Add(FunCall->GetArgument(J)->Resolve(Local.get()));
        Local->AddLocalBinding(Name, IKBValue(new TKBValue(Rest)));
        break;
      }
    }
  }
  for (int I = 0; I < Statements->GetCount(); ++I) {
    Result = Statements->Get(I)->Resolve(Local.get());
    if (Local->GetReturning()) {
      // The return ends here: the caller's context never sees it.
      Result = Local->GetReturnValue();
      Local->ClearReturnValue();
      break;
    }
  }
  // A return hands back its argument as written; it means what it means here.
  if (Result) Result = Result->Resolve(Local.get());
}

void TInterpretedFunction::ReasonerNotification(IReasoner* Reasoner, TCollectionNotification Action) {
  TKBUserFunction::ReasonerNotification(Reasoner, Action);
  if ((Action == cnRemoved || Action == cnExtracted) && GetReasonerCount() == 0)
    for (int I = 0; I < FStatements->GetCount(); ++I) ForgetFunctionsIn(FStatements->Get(I));
}

}  // namespace cogent
