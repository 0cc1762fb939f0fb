#pragma once
// The writer of the rule language for facts, calls, slots, templates and
// types. It works with or without an engine, so that every object can print
// itself.

#include <string>

#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBPackages.h"

namespace cogent {

// "(template slot...)": named slots as "(name value)", an ordered fact as
// its fields; a slot whose value prints empty is left out.
std::string PrettyPrint(const TFact& Fact);
std::string PrettyPrint(const IFact& Fact);
// The text of one slot by its value, by a given value or by a given text.
std::string PrettyPrint(const TFact& Fact, const TKBName& SlotName);
std::string PrettyPrint(const TFact& Fact, const TKBName& SlotName, const IKBValue& Value);
std::string PrettyPrint(const TFact& Fact, const TKBName& SlotName, const std::string& Text);
// A call; in the modify form each argument after the first is a slot pair.
std::string PrettyPrint(const TFunctionCall& FunCall, bool ModifyForm);
std::string PrettyPrint(const IFunCall& FunCall, bool ModifyForm);
// The modify form for "modify" and "duplicate", the plain form otherwise.
std::string PrettyPrint(const TFunctionCall& FunCall);
std::string PrettyPrint(const IFunCall& FunCall);

// A slot definition: "(slot name ...)" or "(multislot name ...)" with its
// default, its types or its defined type.
std::string PrettyPrint(const TFactSlot& Slot);
// "(deftemplate ...)"; the name with its module when PrintModuleQualifiers.
std::string PrettyPrint(const TFactTemplate& Template, bool PrintModuleQualifiers);
// "(deftype ...)" for a named type; for an implicit one, a slot's own, its
// "(type ...)" clause and constraint clauses, left open.
std::string PrettyPrint(const TKBDefinedType& DefinedType, bool PrintModuleQualifiers);

}  // namespace cogent
