// The writer of templates, their slots and defined types.

#include "cogent/facts/KBFacts.h"
#include "cogent/language/KBRuleParser.h"
#include "cogent/values/KBDefinedType.h"

namespace cogent {

std::string PrettyPrint(const TFactSlot& Slot) {
  return std::string(Slot.IsMultiSlot() ? "(multislot " : "(slot ") + Slot.GetName() + ")";
}
std::string PrettyPrint(const TFactTemplate& Template, bool) { return "(deftemplate " + Template.GetTemplateName() + ")"; }
std::string PrettyPrint(const TKBDefinedType& DefinedType, bool) { return DefinedType.GetName(); }

}  // namespace cogent
