// The grammar of templates, their slots and defined types.

#include "cogent/engine/InferenceEngine.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

IStreamToken TKBRuleParser::ParseHeader(std::string&, std::string&, std::string&, bool, const std::string&,
                                        const std::string& Where, const std::string&) {
  NotYetReadable(Where, "headers");
}
IStreamToken TKBRuleParser::ParseHeader(std::string&, std::string&, bool, const std::string&, const std::string& Where,
                                        const std::string&) {
  NotYetReadable(Where, "headers");
}
TKBTypes TKBRuleParser::ParseSlotTypes(IKBDefinedType&) { NotYetReadable("ParseSlotTypes", "slot types"); }
IStreamToken TKBRuleParser::ParseRangeAndCardinality(const IKBDefinedType&, const IFuzzyVariable&, bool, bool) {
  NotYetReadable("ParseDefinedType", "range");
}
IStreamToken TKBRuleParser::ParseAllowedEnumerations(const IKBDefinedType&) {
  NotYetReadable("ParseDefinedType", "allowed values");
}
IKBDefinedType TKBRuleParser::ParseDefinedType() { NotYetReadable("ParseDefinedType", "deftype"); }
IFactTemplate TKBRuleParser::ParseFactTemplate() { NotYetReadable("ParseFactTemplate", "deftemplate"); }
IFactSlot TKBRuleParser::ParseFactTemplateSlot() { NotYetReadable("ParseFactTemplateSlot", "template slots"); }

}  // namespace cogent
