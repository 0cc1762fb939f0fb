#include "cogent/facts/KBPackages.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <string>
#include <vector>

#include "cogent/engine/InferenceEngine.h"
#include "cogent/facts/KBContext.h"

#include "../TestSupport.h"

namespace cogent {
namespace {

using namespace test;

// Adds its arguments, each resolved in the context.
class TSumFunction : public TKBUserFunction {
protected:
  void InitMetaData() override {
    TKBUserFunction::InitMetaData();
    SetFunctionName("zz-sum");
    SetMinArgumentCount(1);
  }
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override {
    TKBUserFunction::Call(FunCall, Context, Result);
    std::int32_t Sum = 0;
    for (int I = 0; I < FunCall->GetArgumentCount(); ++I) Sum += FunCall->GetArgument(I)->Resolve(Context)->GetAsInteger();
    Result = Int(Sum);
  }
};

// Gives its one argument as written.
class TQuoteFunction : public TKBUserFunction {
protected:
  void InitMetaData() override {
    SetFunctionName("zz-quote");
    SetMaxArgumentCount(1);
    SetMinArgumentCount(1);
  }
  void Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) override {
    TKBUserFunction::Call(FunCall, Context, Result);
    Result = FunCall->GetArgument(0);
  }
};

class THostPackage : public TUserPackage {
public:
  explicit THostPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) { Construct(); }

protected:
  void CreateFunctions() override {
    TUserPackage::CreateFunctions();
    AddFunction<TSumFunction>();
    AddFunction<TQuoteFunction>();
  }
};

IFunCall MakeCall(const std::string& Name, std::vector<IKBValue> Arguments = {}) {
  IFunCall Call(new TFunctionCall(Name));
  for (const IKBValue& Argument : Arguments) Call->AddArgument(Argument);
  return Call;
}

IKBValue CallValue(const IFunCall& Call) { return IKBValue(new TKBValue(Call)); }

// A variable argument keeps the binding it found only while the level that
// holds it stays as it is.
TEST(KBPackagesTest, VariableArgumentsFollowTheirLevels) {
  TKBContext Root(nullptr, nullptr);
  const IFunCall Call = MakeCall("zz-any", {Var("x")});
  for (int Value = 1; Value <= 3; ++Value) {
    // Each level is new, likely made where the last one was freed.
    const std::unique_ptr<TKBContext> Level = Root.Push();
    Level->AddLocalBinding("x", Int(Value));
    EXPECT_EQ(Call->ResolveArgument(0, Level.get())->GetAsInteger(), Value);
  }
  const std::unique_ptr<TKBContext> Level = Root.Push();
  Level->AddLocalBinding("x", Int(1));
  Level->AddLocalBinding("y", Int(2));
  EXPECT_EQ(Call->ResolveArgument(0, Level.get())->GetAsInteger(), 1);
  // A binding that takes another's place, and an argument renamed in place.
  Level->AddLocalBinding("x", Int(3));
  EXPECT_EQ(Call->ResolveArgument(0, Level.get())->GetAsInteger(), 3);
  Call->GetArgument(0)->SetAsVariable("y");
  EXPECT_EQ(Call->ResolveArgument(0, Level.get())->GetAsInteger(), 2);
  // An outer binding, one of this level that hides it, and its leaving.
  const IFunCall Outer = MakeCall("zz-any", {Var("z")});
  Root.AddLocalBinding("z", Int(4));
  EXPECT_EQ(Outer->ResolveArgument(0, Level.get())->GetAsInteger(), 4);
  Level->AddLocalBinding("z", Int(5));
  EXPECT_EQ(Outer->ResolveArgument(0, Level.get())->GetAsInteger(), 5);
  Level->Clear();
  EXPECT_EQ(Outer->ResolveArgument(0, Level.get())->GetAsInteger(), 4);
}

TEST(KBPackagesTest, HostFunctionsRegisterAndNestedCallsEvaluate) {
  TInferenceEngine Engine;
  auto* Package = new THostPackage(&Engine);
  EXPECT_EQ(Package->IndexOf("ZZ-QUOTE"), -1);
  const IUserFunction Sum = Engine.GetUserFunction("zz-sum");
  ASSERT_TRUE(Sum);

  auto* Twice = new TUserFunction(&Engine, "zz-twice");
  Twice->OnCall = [](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue& Result) {
    Result = Int(2 * Call->GetArgument(0)->Resolve(Context)->GetAsInteger());
  };
  Twice->SetEngine(&Engine);

  // (zz-twice (zz-sum 1 ?x (zz-sum 2 3))) with ?x bound to 10.
  const IFunCall Middle = MakeCall("zz-sum", {Int(1), Var("x"), CallValue(MakeCall("zz-sum", {Int(2), Int(3)}))});
  const IFunCall Outer = MakeCall("zz-twice", {CallValue(Middle)});

  std::unique_ptr<TKBContext> Context = Engine.GetGlobalContext()->Push();
  Context->AddLocalBinding("x", Int(10));
  EXPECT_EQ(Outer->Execute(Context.get())->GetAsInteger(), 32);
  // Arguments arrive unevaluated.
  EXPECT_EQ(MakeCall("zz-quote", {Var("unbound")})->Execute(Context.get())->GetDType(), dtVariable);
  // Calls 300 deep evaluate, print and copy.
  IFunCall Deep = MakeCall("zz-sum", {Int(1), Var("x")});
  for (int I = 1; I < 300; ++I) Deep = MakeCall("zz-sum", {Int(1), CallValue(Deep)});
  EXPECT_EQ(Deep->Execute(Context.get())->GetAsInteger(), 310);
  const std::string Text = Deep->ToString();
  EXPECT_EQ(Text.rfind(std::string(300, ')')), Text.size() - 300);
  EXPECT_EQ(Deep->Clone()->ToString(), Text);

  // A call keeps the function it found; the package takes its functions away.
  EXPECT_EQ(Middle->GetUserFunction(), Sum);
  delete Package;
  EXPECT_FALSE(Engine.ContainsUserFunction("zz-quote"));
  EXPECT_EQ(Sum->GetReasonerCount(), 0);
  EXPECT_EQ(Outer->Execute(Context.get())->GetAsInteger(), 32);
  EXPECT_EQ(ErrorOf([&] { MakeCall("zz-sum", {Int(1)})->Execute(Context.get()); }),
            "Function is unimplemented or unassigned: zz-sum");

  // At design time a host function gives nil without asking its handler.
  Twice->OnCall = [&](TObject*, const IFunCall&, TKBContext*, IKBValue&) { ADD_FAILURE(); };
  Twice->SetDesigning(true);
  EXPECT_EQ(MakeCall("zz-twice", {Int(1)})->Execute(Context.get()), FCNil);
  delete Twice;
  EXPECT_FALSE(Engine.ContainsUserFunction("zz-twice"));
}

// A call that calls itself without end runs out of stack: that is an error
// on the thread's own stack, whatever its size, not a crash.
TEST(KBPackagesTest, RunawayNestingEndsInAnError) {
  TInferenceEngine Engine;
  auto* Again = new TUserFunction(&Engine, "zz-again");
  int Depth = 0;
  Again->OnCall = [&](TObject*, const IFunCall& Call, TKBContext* Context, IKBValue& Result) {
    ++Depth;
    Result = Call->Execute(Context);
  };
  Again->SetEngine(&Engine);
  const IFunCall Call = MakeCall("zz-again");
  const auto Run = [&] {
    Depth = 0;
    EXPECT_EQ(ErrorOf([&] { Call->Execute(Engine.GetGlobalContext()); }),
              "Calls nested too deeply in zz-again: the stack is nearly used up");
    EXPECT_GT(Depth, 100);
  };
  Run();
  pthread_attr_t Attributes;
  pthread_attr_init(&Attributes);
  pthread_attr_setstacksize(&Attributes, 512 * 1024);
  pthread_t Thread;
  ASSERT_EQ(pthread_create(
                &Thread, &Attributes,
                [](void* Work) -> void* {
                  (*static_cast<decltype(Run)*>(Work))();
                  return nullptr;
                },
                const_cast<void*>(static_cast<const void*>(&Run))),
            0);
  pthread_join(Thread, nullptr);
  pthread_attr_destroy(&Attributes);
  // The engine goes on as before.
  Again->OnCall = [](TObject*, const IFunCall&, TKBContext*, IKBValue& Result) { Result = Int(1); };
  EXPECT_EQ(Call->Execute(Engine.GetGlobalContext())->GetAsInteger(), 1);
}

TEST(KBPackagesTest, ArgumentCountsAndUnknownFunctions) {
  TInferenceEngine Engine;
  new THostPackage(&Engine);
  TKBContext* Context = Engine.GetGlobalContext();
  const IKBValue Unbound = Var("nowhere");

  // Counts are checked before any argument is evaluated.
  EXPECT_EQ(ErrorOf([&] { MakeCall("zz-sum")->Execute(Context); }), "Too few arguments for zz-sum");
  EXPECT_EQ(ErrorOf([&] { MakeCall("zz-quote", {Unbound, Unbound})->Execute(Context); }),
            "Too many arguments for zz-quote");

  // Unknown names, with or without somewhere to look them up; nested errors
  // reach the outermost caller unchanged.
  EXPECT_EQ(ErrorOf([&] { MakeCall("zz-nope")->Execute(Context); }), "Function is unimplemented or unassigned: zz-nope");
  EXPECT_EQ(ErrorOf([&] { MakeCall("zz-sum", {Int(1), CallValue(MakeCall("zz-nope"))})->Execute(Context); }),
            "Function is unimplemented or unassigned: zz-nope");
  EXPECT_EQ(ErrorOf([&] { MakeCall("zz-sum", {Int(1)})->Execute(&Engine); }), "Invalid class typecast");

  // A call written before its function exists finds it when it runs.
  IFunCall Late(new TFunctionCall(&Engine, "zz-late"));
  EXPECT_EQ(ErrorOf([&] { Late->Execute(nullptr); }), "Function is unimplemented or unassigned: zz-late");
  const IUserFunction Function = TKBUserFunction::Create<TSumFunction>();
  Function->SetFunctionName("zz-late");
  Engine.AddUserFunction(Function);
  Late->AddArgument(Int(4));
  EXPECT_EQ(Late->Execute(nullptr)->GetAsInteger(), 4);

  // SimpleExecute looks nothing up and names the call in its errors.
  IFunCall Simple(new TFunctionCall("zz-late"));
  EXPECT_EQ(ErrorOf([&] { Simple->SimpleExecute(Context); }), "Function is unimplemented or unassigned: zz-late");
  Simple->SetUserFunction(Engine.GetUserFunction("zz-sum"));
  EXPECT_EQ(Simple->GetName(), "zz-sum");
  EXPECT_EQ(ErrorOf([&] { Simple->SimpleExecute(Context); }), "zz-sum error: Too few arguments for zz-sum");
  Simple->AddArgument(Int(2));
  EXPECT_EQ(Simple->SimpleExecute(Context)->GetAsInteger(), 2);
}

TEST(KBPackagesTest, RenamingReregistersWithEveryEngine) {
  TInferenceEngine A, B;
  std::vector<std::string> Log;
  A.OnAddUserFunction = [&](TObject*, const IUserFunction& F) { Log.push_back("add " + F->GetFunctionName()); };
  A.OnRemoveUserFunction = [&](TObject*, const IUserFunction& F) { Log.push_back("remove " + F->GetFunctionName()); };
  const IUserFunction F = TKBUserFunction::Create<TSumFunction>();
  EXPECT_EQ(F->AddReasoner(&A), 0);
  EXPECT_EQ(F->AddReasoner(&B), 1);
  Log.clear();
  F->SetFunctionName("zz-total");
  EXPECT_EQ(Log, (std::vector<std::string>{"remove zz-sum", "add zz-total"}));
  EXPECT_FALSE(B.ContainsUserFunction("zz-sum"));
  EXPECT_EQ(B.GetUserFunction("zz-total"), F);

  // A name taken under dcError changes nothing.
  const IUserFunction Other(new TKBUserFunction("zz-taken"));
  B.AddUserFunction(Other);
  B.SetDuplicateConstructs(dcError);
  EXPECT_EQ(ErrorOf([&] { F->SetFunctionName("zz-taken"); }), "Function Name already exists: \"zz-taken\"");
  EXPECT_EQ(F->GetFunctionName(), "zz-total");

  // Under dcIgnore the engine that keeps the other function lets this one go.
  B.SetDuplicateConstructs(dcIgnore);
  F->SetFunctionName("zz-taken");
  EXPECT_EQ(A.GetUserFunction("zz-taken"), F);
  EXPECT_EQ(B.GetUserFunction("zz-taken"), Other);
  EXPECT_FALSE(B.ContainsUserFunction("zz-total"));
  ASSERT_EQ(F->GetReasonerCount(), 1);
  EXPECT_EQ(F->GetReasoner(0), static_cast<IReasoner*>(&A));

  F->DeleteReasoner(static_cast<IReasoner*>(&A));
  EXPECT_FALSE(A.ContainsUserFunction("zz-taken"));
}

TEST(KBPackagesTest, PackagesFollowTheirReasoners) {
  TInferenceEngine Engine;
  THostPackage Package(nullptr);
  Package.SetEngine(&Engine);

  // Functions that leave the list leave the engine; Reset brings them back.
  Package.GetFunctions().Delete(0);
  EXPECT_FALSE(Engine.ContainsUserFunction("zz-sum"));
  Package.SetReset(true);
  EXPECT_EQ(Package.GetFunctions().GetCount(), 2);
  EXPECT_TRUE(Engine.ContainsUserFunction("zz-sum"));
  EXPECT_EQ(Package.GetFunctions().Add(Package.GetFunctions().Get(1)), 1);

  // A reasoner added by hand gets every function.
  TInferenceEngine Second;
  Package.GetReasoners().Add(&Second);
  EXPECT_TRUE(Second.ContainsUserFunction("zz-quote"));
  Package.GetReasoners().Remove(&Second);
  EXPECT_FALSE(Second.ContainsUserFunction("zz-quote"));

  // At design time the engine is only stored.
  Package.SetEngine(nullptr);
  EXPECT_FALSE(Engine.ContainsUserFunction("zz-sum"));
  Package.SetDesigning(true);
  Package.SetEngine(&Engine);
  EXPECT_EQ(Package.GetEngine(), &Engine);
  EXPECT_FALSE(Engine.ContainsUserFunction("zz-sum"));
  Package.SetDesigning(false);

  // An engine that goes first leaves the package without engine.
  {
    TInferenceEngine Gone;
    Package.SetEngine(&Gone);
  }
  EXPECT_EQ(Package.GetEngine(), nullptr);
  EXPECT_EQ(Package.GetFunctions().Get(0)->GetReasonerCount(), 0);

  // Assign takes the other package's functions.
  TUserPackage Copy(nullptr);
  Copy.SetEngine(&Engine);
  Copy.Assign(&Package);
  EXPECT_EQ(Copy.GetFunctions().Get(1), Package.GetFunctions().Get(1));
  EXPECT_TRUE(Engine.ContainsUserFunction("zz-quote"));
}

TEST(KBPackagesTest, InnerFunctionOutlivesItsOwner) {
  TInferenceEngine Engine;
  auto* Owner = new TComponent(nullptr);
  const Ref<TKBInnerFunction> Inner = TKBUserFunction::Create<TKBInnerFunction>(Owner, "zz-inner");
  Inner->OnCall = [](TObject*, const IFunCall&, TKBContext*, IKBValue& Result) { Result = Int(1); };
  Engine.AddUserFunction(Inner);
  EXPECT_EQ(MakeCall("zz-inner")->Execute(Engine.GetGlobalContext())->GetAsInteger(), 1);
  delete Owner;
  EXPECT_EQ(Inner->GetOwner(), nullptr);
  EXPECT_TRUE(Engine.ContainsUserFunction("zz-inner"));
  EXPECT_EQ(ErrorOf([&] { MakeCall("zz-inner")->Execute(Engine.GetGlobalContext()); }),
            "Function is unimplemented or unassigned: zz-inner");

  // A host function outlives an engine that goes first, and copies another.
  TUserFunction Host(nullptr, "zz-host");
  {
    TInferenceEngine Gone;
    Host.SetEngine(&Gone);
  }
  EXPECT_EQ(Host.GetEngine(), nullptr);
  EXPECT_EQ(Host.GetInnerFunction()->GetReasonerCount(), 0);
  Host.SetEngine(&Engine);
  Host.SetFunctionName("zz-renamed");
  EXPECT_FALSE(Engine.ContainsUserFunction("zz-host"));
  EXPECT_EQ(Engine.GetUserFunction("zz-renamed"), Host.GetInnerFunction());

  TUserFunction Copy(nullptr);
  Host.SetMinArgumentCount(2);
  Copy.Assign(&Host);
  EXPECT_EQ(Copy.GetFunctionName(), "zz-renamed");
  EXPECT_EQ(Copy.GetMinArgumentCount(), 2);
}

TEST(KBPackagesTest, CallArgumentsEqualityHashAndCopies) {
  TInferenceEngine Engine;
  IFunCall A(new TFunctionCall(&Engine, "f"));
  A->AddArgument(1, dtInteger);
  A->AddArgument("x", dtAtom);
  IFunCall B(new TFunctionCall("f"));
  B->AddArgument("x", dtAtom);
  B->AddArgument(1, dtInteger);
  // The hash ignores the order of the arguments; equality does not.
  EXPECT_EQ(A->GetHashCode(), B->GetHashCode());
  EXPECT_FALSE(A->Equals(B));
  EXPECT_FALSE(A->Equals(IInterface(Int(1))));
  B->Delete(0);
  B->AddArgument("x", dtAtom);
  EXPECT_TRUE(A->Equals(IInterface(B)));

  // A clone shares no value, keeps comment and tag, and finds its function anew.
  A->SetTag(7);
  A->SetComment("note");
  A->SetUserFunction(IUserFunction(new TKBUserFunction("f")));
  const IFunCall C = A->Clone();
  EXPECT_TRUE(C->Equals(A));
  EXPECT_EQ(C->GetTag(), 7);
  EXPECT_EQ(C->GetComment(), "note");
  EXPECT_EQ(C->GetReasoner(), static_cast<IReasoner*>(&Engine));
  EXPECT_FALSE(C->GetUserFunction());
  C->GetArgument(0)->SetAsInteger(5);
  EXPECT_EQ(A->GetArgument(0)->GetAsInteger(), 1);

  EXPECT_EQ(ErrorOf([&] { C->Assign(IInterface(Int(1))); }), "Unknown interface supplied to engine value");
  EXPECT_EQ(ErrorOf([&] { C->GetArgument(2); }), "List index out of bounds (2)");

  // Arguments given as raw values are converted to the type asked for.
  IFunCall Call(new TFunctionCall("f"));
  Call->AddArgument(7, dtFloat);
  Call->AddArgument(-2.9, dtInteger);
  EXPECT_EQ(Call->AddArgument("y", dtMultiVariable), 2);
  const IKBValue Same = Int(4);
  Call->AddArgument(Same);
  EXPECT_EQ(Call->ToString(), "(f 7.0000 -2 $?y 4)");
  EXPECT_EQ(Call->GetArgument(3), Same);  // kept, not copied

  EXPECT_EQ(ErrorOf([&] { Call->AddArgument("x", dtInteger); }), "Not a String type.  Value (x) is a dtInteger type");
  EXPECT_EQ(ErrorOf([&] { Call->AddArgument(3, dtAtom); }), "Not a Integer type.  Value (3) is a dtAtom type");
  EXPECT_EQ(ErrorOf([&] { Call->AddArgument(2.5, dtString); }), "Not a Float type.  Value (2.5) is a dtString type");
  EXPECT_EQ(Call->GetArgumentCount(), 4);
}

TEST(KBPackagesTest, ArgumentLimitsAndExpressions) {
  const IUserFunction F(new TKBUserFunction("zz-f"));
  F->SetMaxArgumentCount(2);
  F->SetMinArgumentCount(3);  // the limits never cross
  EXPECT_EQ(F->GetMaxArgumentCount(), 3);
  F->SetMaxArgumentCount(1);
  EXPECT_EQ(F->GetMinArgumentCount(), 1);

  EXPECT_EQ(CreateArgumentExpressions("", 1, 3, 10), "<expression>[ <expression>[ <expression>]]");
  EXPECT_EQ(CreateArgumentExpressions(" <a> <b>", 2, 2, 10), "<a> <b>");
  EXPECT_EQ(CreateArgumentExpressions("<x>", 1, 2, 10), "<x>[ <expression>]");
  EXPECT_EQ(CreateArgumentExpressions("", 3, 2, 10), "");

  // Open-ended lists stop at the limit, all of it optional.
  EXPECT_EQ(CreateArgumentExpressions("", 0, 2147483647, 3), "[<expression>[ <expression>[ <expression>[]]]]");
}

}  // namespace
}  // namespace cogent
