#include "cogent/functions/ObjectPackage.h"

#include "cogent/host/TypInfo.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TObjectPackage, TUserPackage>();
  RegisterClass<TCreateObjectFunction, TKBUserFunction>();
  RegisterClass<TExecuteActionFunction, TKBUserFunction>();
  RegisterClass<TFreeObjectFunction, TKBUserFunction>();
  RegisterClass<TGetComponentFunction, TKBUserFunction>();
  RegisterClass<TGetComponentsFunction, TKBUserFunction>();
  RegisterClass<TGetPropertyFunction, TKBUserFunction>();
  RegisterClass<TGetPropertiesFunction, TKBUserFunction>();
  RegisterClass<TSetPropertyFunction, TKBUserFunction>();
  RegisterClass<TGetClassFunction, TKBUserFunction>();
  RegisterClass<TIsClassFunction, TKBUserFunction>();
  return true;
}();

TObject* ObjectOf(const IFunCall& FunCall, int Index, TKBContext* Context) {
  return Evaluate(FunCall, Index, Context)->GetAsObject();
}

// The checked cast of the host: nil stays nil, another class raises.
template <class T>
T* As(TObject* Object) {
  if (!Object) return nullptr;
  T* Result = dynamic_cast<T*>(Object);
  if (!Result) throw EInvalidCast(SInvalidCast);
  return Result;
}

// A borrowed reference, which lets go when a component goes.
IKBValue NewObject(TObject* Object) { return IKBValue(new TKBValue(Object, false)); }

std::string NameOf(const TObject& Object) {
  const auto* Component = dynamic_cast<const TComponent*>(&Object);
  return Component && !Component->GetName().empty() ? Component->GetName() : Object.ClassName();
}

// The engine, what owns it and what it owns must outlive the call that is
// running in it.
bool EngineDependsOn(const TComponent& Engine, const TComponent* Component) {
  for (const TComponent* C = &Engine; C; C = C->GetOwner())
    if (C == Component) return true;
  for (const TComponent* C = Component; C; C = C->GetOwner())
    if (C == &Engine) return true;
  return false;
}

}  // namespace

TObjectPackage::TObjectPackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) { Construct(); }

TObjectPackage::~TObjectPackage() { Destroying(); }

void TObjectPackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFunction<TCreateObjectFunction>();
  AddFunction<TExecuteActionFunction>();
  AddFunction<TFreeObjectFunction>();
  AddFunction<TGetComponentFunction>();
  AddFunction<TGetComponentsFunction>();
  AddFunction<TGetPropertyFunction>();
  AddFunction<TGetPropertiesFunction>();
  AddFunction<TSetPropertyFunction>();
  AddFunction<TGetClassFunction>();
  AddFunction<TIsClassFunction>();
}

// ---------------------------------------------------------------- objects and classes

void TCreateObjectFunction::InitMetaData() {
  Describe("create-object", "Creates an object of the class; it lives until free-object or the host ends it",
           " <TClass-expression>", 1, 1);
}

void TCreateObjectFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TClass Class = Evaluate(FunCall, 0, Context)->GetAsClass();
  TObject* Object = Class ? Class->CreateInstance(nullptr) : nullptr;
  // Only a component tells the values that borrow it when it goes.
  if (!dynamic_cast<TComponent*>(Object)) {
    delete Object;
    throw EKBException(Format(SCannotCreateObject, Class ? Class->ClassName() : std::string("nil")));
  }
  Result = NewObject(Object);
}

void TExecuteActionFunction::InitMetaData() {
  Describe("execute-action", "Executes the action; TRUE when it was handled", " <TBasicAction-expression>", 1, 1);
}

void TExecuteActionFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TBasicAction* Action = As<TBasicAction>(ObjectOf(FunCall, 0, Context));
  Result = Truth(Action && Action->Execute());
}

void TFreeObjectFunction::InitMetaData() {
  Describe("free-object", "Frees the objects in order, passing over nil", " <TObject-expression>*", 1);
}

void TFreeObjectFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TInferenceEngine& Engine = EngineOf(Context);
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) {
    TObject* Object = ObjectOf(FunCall, I, Context);
    if (!Object) continue;
    auto* Component = dynamic_cast<TComponent*>(Object);
    if (!Component) throw EKBException(Format(SCannotFreeObject, NameOf(*Object)));
    if (EngineDependsOn(Engine, Component)) throw EKBException(Format(SCannotFreeEngine, NameOf(*Object)));
    // Already on its way out: its destructor is running further up.
    if (Component->GetComponentState().Contains(csDestroying)) continue;
    delete Component;
  }
  Result = FCTrue;
}

void TGetClassFunction::InitMetaData() {
  Describe("get-class", "Returns the registered class of that name", " <class-name>", 1, 1);
}

void TGetClassFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const std::string Name = TextOf(FunCall, 0, Context);
  const TClass Class = TMetaClass::FindClass(Name);
  if (!Class) throw EClassNotFound(Format(SClassNotFound, Name));
  Result = IKBValue(new TKBValue(Class));
}

void TIsClassFunction::InitMetaData() {
  Describe("is-class", "Returns TRUE when the object is of the class or of a descendant",
           " <TObject-expression> <TClass-expression>", 2, 2);
}

void TIsClassFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TObject* Object = ObjectOf(FunCall, 0, Context);
  const TClass Class = Evaluate(FunCall, 1, Context)->GetAsClass();
  Result = Truth(Object && Class && Object->ClassType()->InheritsFrom(Class));
}

// ---------------------------------------------------------------- the component tree

void TGetComponentFunction::InitMetaData() {
  Describe("get-component",
           "Returns the component of that name below the root, the engine's owner unless a root is given; with no "
           "argument the engine's owner; FALSE when there is none",
           std::string(" [<component-name>] | ") + sLineBreak + " [<TComponent-expression> <component-name>]", 0, 2);
}

void TGetComponentFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const int Count = FunCall->GetArgumentCount();
  TComponent* Found = nullptr;
  if (Count == 0) {
    Found = EngineOf(Context).GetOwner();
  } else {
    const TComponent* Root =
        Count == 2 ? As<TComponent>(ObjectOf(FunCall, 0, Context)) : EngineOf(Context).GetOwner();
    const std::string Name = TextOf(FunCall, Count - 1, Context);
    if (!Root) throw EKBException(Format(_SMissingComponent, GetFunctionName()));
    Found = Root->FindComponent(Name);
  }
  Result = Found ? NewObject(Found) : FCFalse;
}

void TGetComponentsFunction::InitMetaData() {
  Describe("get-components", "Returns a list of the components that the root owns, the engine's owner by default",
           " [<TComponent-expression>]", 0, 1);
}

void TGetComponentsFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TComponent* Root = FunCall->GetArgumentCount() > 0 ? As<TComponent>(ObjectOf(FunCall, 0, Context))
                                                           : EngineOf(Context).GetOwner();
  if (!Root) throw EKBException(Format(_SMissingComponent, GetFunctionName()));
  IValueVector List(new TValueVector());
  for (int I = 0; I < Root->GetComponentCount(); ++I) List->Add(NewObject(Root->GetComponent(I)));
  Result = IKBValue(new TKBValue(List));
}

// ---------------------------------------------------------------- properties

void TGetPropertyFunction::InitMetaData() {
  Describe("get-property",
           "Returns the value of the object's published property; nil when there is no such property, FALSE for "
           "an object without published properties",
           " <TObject-expression> <property-name>", 2, 2);
}

void TGetPropertyFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TObject* Object = ObjectOf(FunCall, 0, Context);
  const std::string Name = TextOf(FunCall, 1, Context);
  if (!HasTypeInfo(Object)) {
    Result = FCFalse;
    return;
  }
  const TPropInfo* Prop = GetPropInfo(Object, Name);
  if (!Prop) {
    Result = FCNil;
    return;
  }
  switch (Prop->Kind) {
    case tkInteger:
    case tkInt64:
      // Only the low 32 bits of a 64-bit value are kept.
      Result = IKBValue(new TKBValue(static_cast<std::int32_t>(GetOrdProp(*Object, *Prop)), dtInteger));
      break;
    case tkChar:
    case tkWChar:
    case tkString:
    case tkLString:
    case tkWString:
    case tkUString:
      Result = IKBValue(new TKBValue(GetStrProp(*Object, *Prop), dtString));
      break;
    case tkEnumeration:
      Result = IKBValue(new TKBValue(GetEnumProp(*Object, *Prop), dtAtom));
      break;
    case tkFloat:
      Result = IKBValue(new TKBValue(GetFloatProp(*Object, *Prop)));
      break;
    case tkSet:
      Result = IKBValue(new TKBValue(GetSetProp(*Object, *Prop, true), dtString));
      break;
    case tkClass:
      Result = NewObject(GetObjectProp(*Object, *Prop));
      break;
    default:
      throw EPropertyError(Format(SInvalidPropertyType, GetTypeKindName(Prop->Kind)));
  }
}

void TGetPropertiesFunction::InitMetaData() {
  Describe("get-properties",
           "Returns a list of the names of the object's published properties, events left out, sorted; FALSE for an "
           "object without published properties",
           " <TObject-expression>", 1, 1);
}

void TGetPropertiesFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const TObject* Object = ObjectOf(FunCall, 0, Context);
  if (!HasTypeInfo(Object)) {
    Result = FCFalse;
    return;
  }
  IValueVector List(new TValueVector());
  for (const TPropInfo* Prop : GetPropList(Object, tkProperties)) List->Add(IKBValue(new TKBValue(Prop->Name, dtAtom)));
  Result = IKBValue(new TKBValue(List));
}

void TSetPropertyFunction::InitMetaData() {
  Describe("set-property",
           "Sets the object's published property to the value; FALSE when the object has no such property",
           " <TObject-expression> <property-name> <expression>", 3, 3);
}

void TSetPropertyFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  TObject* Object = ObjectOf(FunCall, 0, Context);
  if (!HasTypeInfo(Object)) {
    Result = FCFalse;
    return;
  }
  const TPropInfo* Prop = GetPropInfo(Object, TextOf(FunCall, 1, Context));
  if (!Prop) {
    Result = FCFalse;
    return;
  }
  switch (Prop->Kind) {
    case tkClass:
      SetObjectProp(*Object, *Prop, ObjectOf(FunCall, 2, Context));
      break;
    case tkInteger:
    case tkInt64:
      SetOrdProp(*Object, *Prop, Evaluate(FunCall, 2, Context)->GetAsInteger());
      break;
    case tkFloat:
      SetFloatProp(*Object, *Prop, Evaluate(FunCall, 2, Context)->GetAsFloat());
      break;
    case tkChar:
    case tkWChar:
    case tkString:
    case tkLString:
    case tkWString:
    case tkUString:
      SetStrProp(*Object, *Prop, TextOf(FunCall, 2, Context));
      break;
    case tkEnumeration:
      SetEnumProp(*Object, *Prop, TextOf(FunCall, 2, Context));
      break;
    case tkSet:
      SetSetProp(*Object, *Prop, TextOf(FunCall, 2, Context));
      break;
    case tkMethod:
      break;  // an event is not written from rules
    default:
      throw EPropertyError(Format(SInvalidPropertyType, GetTypeKindName(Prop->Kind)));
  }
  Result = FCTrue;
}

}  // namespace cogent
