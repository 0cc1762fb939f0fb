#include "cogent/functions/PredicatePackage.h"

namespace cogent {

namespace {

[[maybe_unused]] const bool ClassesRegistered = [] {
  RegisterClass<TPredicatePackage, TUserPackage>();
  RegisterClass<TVerifyTypePFunction, TKBUserFunction>();
  RegisterClass<TEvenPFunction, TKBUserFunction>();
  RegisterClass<TOddPFunction, TKBUserFunction>();
  RegisterClass<TGetValueTypeFunction, TKBUserFunction>();
  return true;
}();

constexpr const char* SPredicateComment =
    "Returns TRUE if the argument is of the following type(s): %s.  If the argument is any other type, FALSE is "
    "returned";

}  // namespace

TPredicatePackage::TPredicatePackage(TComponent* AOwner) : TUserPackage(AOwner, TDeferredConstruction{}) {
  Construct();
}

TPredicatePackage::~TPredicatePackage() { Destroying(); }

void TPredicatePackage::CreateFunctions() {
  TUserPackage::CreateFunctions();
  AddFunction<TVerifyTypePFunction>(TKBName("lexemep"), TKBTypes{dtAtom, dtString});
  AddFunction<TVerifyTypePFunction>(TKBName("numberp"), TKBTypes{dtInteger, dtFloat});
  AddFunction<TVerifyTypePFunction>(TKBName("floatp"), TKBTypes{dtFloat});
  AddFunction<TVerifyTypePFunction>(TKBName("fuzzyp"), TKBTypes{dtFuzzy});
  AddFunction<TVerifyTypePFunction>(TKBName("integerp"), TKBTypes{dtInteger});
  AddFunction<TVerifyTypePFunction>(TKBName("stringp"), TKBTypes{dtString});
  AddFunction<TVerifyTypePFunction>(TKBName("symbolp"), TKBTypes{dtAtom});
  AddFunction<TVerifyTypePFunction>(TKBName("multifieldp"), TKBTypes{dtList});
  AddFunction<TVerifyTypePFunction>(TKBName("external-addressp"), TKBTypes{dtExternalAddress});
  AddFunction<TVerifyTypePFunction>(TKBName("objectp"), TKBTypes{dtObject});
  AddFunction<TEvenPFunction>();
  AddFunction<TOddPFunction>();
  AddFunction<TGetValueTypeFunction>();
}

// ---------------------------------------------------------------- kinds

TVerifyTypePFunction::TVerifyTypePFunction(const TKBName& AName, TKBTypes AValueTypes) : FValueTypes(AValueTypes) {
  SetFunctionName(AName);
  SetMaxArgumentCount(1);
  SetMinArgumentCount(1);
}

void TVerifyTypePFunction::SetFunctionName(const TKBName& Value) {
  TBuiltInFunction::SetFunctionName(Value);
  FComment = Format(SPredicateComment, FValueTypes.Empty() ? std::string("NONE") : SetToString(FValueTypes, ", ", false));
  FArgumentString = " <expression>";
}

void TVerifyTypePFunction::WriteData(TFunctionDataWriter& Writer) const {
  TBuiltInFunction::WriteData(Writer);
  Writer.WriteInteger(static_cast<std::int32_t>(FValueTypes.Bits()));
}

void TVerifyTypePFunction::ReadData(TFunctionDataReader& Reader) {
  TBuiltInFunction::ReadData(Reader);
  FValueTypes = TKBTypes::FromBits(static_cast<std::uint32_t>(Reader.ReadInteger()));
  // The comment names the kinds just read.
  SetFunctionName(FFunctionName);
}

void TVerifyTypePFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth(FValueTypes.Contains(Evaluate(FunCall, 0, Context)->GetDType()));
}

// ---------------------------------------------------------------- numbers and type names

void TEvenPFunction::InitMetaData() {
  Describe("evenp", "Returns TRUE if the argument, as a whole number, is even", " <numeric-expression>", 1, 1);
}

void TEvenPFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth((Evaluate(FunCall, 0, Context)->GetAsInteger() & 1) == 0);
}

void TOddPFunction::InitMetaData() {
  Describe("oddp", "Returns TRUE if the argument, as a whole number, is odd", " <numeric-expression>", 1, 1);
}

void TOddPFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = Truth((Evaluate(FunCall, 0, Context)->GetAsInteger() & 1) != 0);
}

void TGetValueTypeFunction::InitMetaData() {
  Describe("get-type", "Returns the name of the kind of the argument, such as dtInteger", " <expression> ", 1, 1);
}

void TGetValueTypeFunction::Call(const IFunCall& FunCall, TKBContext* Context, IKBValue& Result) {
  TBuiltInFunction::Call(FunCall, Context, Result);
  Result = IKBValue(new TKBValue(GetKBTypeName(Evaluate(FunCall, 0, Context)->GetDType()), dtAtom));
}

}  // namespace cogent
