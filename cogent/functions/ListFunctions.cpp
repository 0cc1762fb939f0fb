// The standard package's list functions. A list never flattens: an item
// that is itself a list stays one item. Items that go into a result are
// resolved and copied, so that changing a result never changes its source.

#include "cogent/functions/StandardPackage.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TCreateMFFunction, TKBUserFunction>();
  RegisterClass<TDeleteMFFunction, TKBUserFunction>();
  RegisterClass<TExplodeMFFunction, TKBUserFunction>();
  RegisterClass<TFirstMFFunction, TKBUserFunction>();
  RegisterClass<TImplodeMFFunction, TKBUserFunction>();
  RegisterClass<TInsertMFFunction, TKBUserFunction>();
  RegisterClass<TLengthMFFunction, TKBUserFunction>();
  RegisterClass<TMemberFunction, TKBUserFunction>();
  RegisterClass<TMemberMFFunction, TKBUserFunction>();
  RegisterClass<TNthMFFunction, TKBUserFunction>();
  RegisterClass<TReplaceMFFunction, TKBUserFunction>();
  RegisterClass<TRestMFFunction, TKBUserFunction>();
  RegisterClass<TSubSeqMFFunction, TKBUserFunction>();
  RegisterClass<TSubSetpMFFunction, TKBUserFunction>();
  return true;
}();

// A copy of the value with a vector of its own where it is a list; a clone
// would share the vector.
IKBValue OwnCopy(const IKBValue& Value) { return IKBValue(new TKBValue(Value)); }

// An item resolved in Context; an item that gives no value counts as nil.
IKBValue Resolved(const IKBValue& Item, TKBContext* Context) {
  IKBValue Result = Item ? Item->Resolve(Context) : Item;
  return Result ? Result : FCNil;
}

// The item as a result may hold it: resolved, then copied.
IKBValue TakenOver(const IKBValue& Item, TKBContext* Context) { return Resolved(Item, Context)->Clone(); }

bool SameItem(const IKBValue& A, const IKBValue& B, TKBContext* Context) {
  return Resolved(A, Context)->Equals(Resolved(B, Context));
}

// The range of delete$, replace$ and subseq$, checked before the list is read.
void ReadRange(const IFunCall& FunCall, TKBContext* Context, std::int32_t& Start, std::int32_t& Finish) {
  Start = IntegerOf(FunCall, 1, Context);
  Finish = IntegerOf(FunCall, 2, Context);
  if (Start > Finish) throw EKBException(Format(_SInvalidMFParameters, Start, Finish));
}

// The items of Source outside Start to Finish, taken over.
IValueVector WithoutRange(const IValueVector& Source, std::int32_t Start, std::int32_t Finish, TKBContext* Context) {
  IValueVector Result(new TValueVector());
  for (int I = 0; I < Source->GetCount(); ++I)
    if (I < Start || I > Finish) Result->Add(TakenOver(Source->GetRef(I), Context));
  return Result;
}

// The arguments from From on, taken over, each inserted at Index of Items.
// Each goes in front of the one before it, so they land in reverse order.
void InsertArguments(const IFunCall& FunCall, int From, std::int32_t Index, TValueVector& Items,
                     TKBContext* Context) {
  for (int I = From; I < FunCall->GetArgumentCount(); ++I) Items.Insert(Index, Evaluate(FunCall, I, Context)->Clone());
}

}  // namespace

// ---------------------------------------------------------------- building

void TCreateMFFunction::InitMetaData() {
  Describe("create$", "Returns a new list of the values of the expressions; a list stays one item", " <expression>*",
           0);
}

void TCreateMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  IValueVector Items(new TValueVector());
  for (int I = 0; I < FunCall->GetArgumentCount(); ++I) Items->Add(Evaluate(FunCall, I, Context)->Clone());
  Result = NewList(Items);
}

void TInsertMFFunction::InitMetaData() {
  Describe("insert$",
           "Returns a copy of the list with the values inserted at the index; each value goes in front of the one "
           "before it",
           " <multifield-expression> <integer-expression> <expression>*", 2);
}

void TInsertMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  // A copy with a vector of its own; whether it is a list at all shows at
  // the first insertion.
  Result = OwnCopy(Evaluate(FunCall, 0, Context));
  const std::int32_t Index = IntegerOf(FunCall, 1, Context);
  if (FunCall->GetArgumentCount() > 2) InsertArguments(FunCall, 2, Index, *Result->GetAsList(), Context);
}

void TReplaceMFFunction::InitMetaData() {
  Describe("replace$",
           "Returns a copy of the list with the items from start to end replaced by the values; each value goes in "
           "front of the one before it",
           " <multifield-expression> <start-integer-expression> <end-integer-expression> <expression>*", 3);
}

void TReplaceMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  std::int32_t Start = 0, Finish = 0;
  ReadRange(FunCall, Context, Start, Finish);
  const IValueVector Items = WithoutRange(ListOf(FunCall, 0, Context), Start, Finish, Context);
  InsertArguments(FunCall, 3, Start, *Items, Context);
  Result = NewList(Items);
}

void TDeleteMFFunction::InitMetaData() {
  Describe("delete$", "Returns a copy of the list without the items from start to end",
           " <multifield-expression> <start-integer-expression> <end-integer-expression>", 3, 3);
}

void TDeleteMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  std::int32_t Start = 0, Finish = 0;
  ReadRange(FunCall, Context, Start, Finish);
  Result = NewList(WithoutRange(ListOf(FunCall, 0, Context), Start, Finish, Context));
}

void TSubSeqMFFunction::InitMetaData() {
  Describe("subseq$", "Returns a new list of the items from start to end",
           " <multifield-expression> <start-integer-expression> <end-integer-expression>", 3, 3);
}

void TSubSeqMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  std::int32_t Start = 0, Finish = 0;
  ReadRange(FunCall, Context, Start, Finish);
  const IValueVector Source = ListOf(FunCall, 0, Context);
  IValueVector Items(new TValueVector());
  // Wide, so that an end at the top of the range cannot wrap; the list
  // refuses the first index it does not have.
  for (std::int64_t I = Start; I <= Finish; ++I)
    Items->Add(TakenOver(Source->GetRef(static_cast<int>(I)), Context));
  Result = NewList(Items);
}

void TRestMFFunction::InitMetaData() {
  Describe("rest$", "Returns a copy of the list without its first item", " <multifield-expression>", 1, 1);
}

void TRestMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = OwnCopy(Evaluate(FunCall, 0, Context));
  Result->GetAsList()->Delete(0);
}

// ---------------------------------------------------------------- reading

void TFirstMFFunction::InitMetaData() {
  Describe("first$", "Returns the first item of the list, or nil for an empty list", " <multifield-expression> ", 1,
           1);
}

void TFirstMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IValueVector Items = ListOf(FunCall, 0, Context);
  Result = Items->IsEmpty() ? FCNil : Resolved(Items->GetRef(0), Context);
}

void TNthMFFunction::InitMetaData() {
  Describe("nth$", "Returns the item of the list at the index; the first item is at 0",
           " <integer-expression> <multifield-expression>", 2, 2);
}

void TNthMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const std::int32_t Index = IntegerOf(FunCall, 0, Context);
  Result = ListOf(FunCall, 1, Context)->Get(Index);
}

void TLengthMFFunction::InitMetaData() {
  Describe("length$", "Returns the number of items of the list", " <multifield-expression> ", 1, 1);
}

void TLengthMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = IKBValue(new TKBValue(ListOf(FunCall, 0, Context)->GetCount(), dtInteger));
}

void TMemberFunction::InitMetaData() {
  Describe("member",
           "Returns the position of the first later argument equal to the first argument, counting from 0, or "
           "FALSE",
           " <to-find-expression> <expression>+", 2);
}

void TMemberFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IKBValue Wanted = Evaluate(FunCall, 0, Context);
  for (int I = 1; I < FunCall->GetArgumentCount(); ++I)
    if (Wanted->Equals(Evaluate(FunCall, I, Context))) {
      Result = IKBValue(new TKBValue(I - 1, dtInteger));
      return;
    }
  Result = FCFalse;
}

void TMemberMFFunction::InitMetaData() {
  Describe("member$", "Returns the index of the first item of the list equal to the value, or FALSE",
           " <expression> <multifield-expression>", 2, 2);
}

void TMemberMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IKBValue Wanted = Evaluate(FunCall, 0, Context);
  const IValueVector Items = ListOf(FunCall, 1, Context);
  for (int I = 0; I < Items->GetCount(); ++I)
    if (Wanted->Equals(Resolved(Items->GetRef(I), Context))) {
      Result = IKBValue(new TKBValue(I, dtInteger));
      return;
    }
  Result = FCFalse;
}

void TSubSetpMFFunction::InitMetaData() {
  Describe("subsetp",
           "Returns TRUE if the first list, or the single value, stands as one unbroken run in the second list",
           " <expression> <multifield-expression>", 2, 2);
}

void TSubSetpMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IKBValue First = Evaluate(FunCall, 0, Context);
  IValueVector Sub;
  if (First->GetDType() == dtList) {
    Sub = First->GetAsList();
  } else {
    Sub = IValueVector(new TValueVector());
    Sub->Add(First);
  }
  Result = FCFalse;
  const IValueVector Full = ListOf(FunCall, 1, Context);
  for (int I = 0; I < Full->GetCount(); ++I) {
    if (!SameItem(Full->GetRef(I), Sub->GetRef(0), Context)) continue;
    // A run that reaches past the end of the full list is the list's index
    // error, not a mismatch.
    int J = 1;
    while (J < Sub->GetCount() && SameItem(Full->GetRef(I + J), Sub->GetRef(J), Context)) ++J;
    if (J == Sub->GetCount()) {
      Result = FCTrue;
      return;
    }
  }
}

// ---------------------------------------------------------------- text

void TExplodeMFFunction::InitMetaData() {
  Describe("explode$", "Returns a list of atoms of the words of the text, which blanks separate",
           " <string-expression> ", 1, 1);
}

void TExplodeMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  std::string Text = Trim(TextOf(FunCall, 0, Context));
  IValueVector Items(new TValueVector());
  // Only the blank separates: a tab or line end inside a word stays in it,
  // and goes only where it stands right behind a blank.
  while (!Text.empty()) {
    const std::size_t Blank = Text.find(' ');
    if (Blank == std::string::npos) {
      Items->Add(IKBValue(new TKBValue(Text, dtAtom)));
      break;
    }
    Items->Add(IKBValue(new TKBValue(Text.substr(0, Blank), dtAtom)));
    Text = TrimLeft(std::string_view(Text).substr(Blank));
  }
  Result = NewList(Items);
}

void TImplodeMFFunction::InitMetaData() {
  Describe("implode$", "Returns the items of the list as one string, separated by one blank",
           " <multifield-expression> ", 1, 1);
}

void TImplodeMFFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  const IValueVector Items = ListOf(FunCall, 0, Context);
  std::string Text;
  for (int I = 0; I < Items->GetCount(); ++I) {
    if (I > 0) Text += ' ';
    Text += Resolved(Items->GetRef(I), Context)->GetAsString();
  }
  Result = IKBValue(new TKBValue(Text, dtString));
}

}  // namespace cogent
