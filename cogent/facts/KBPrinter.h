#pragma once
// The writer of the rule language for every construct below the rules:
// facts, calls, slots, templates, types, patterns, fact sets, modules,
// deffunctions, globals, fuzzy sets and variables. It works with or without
// an engine, so that every object can print itself.

#include <string>

#include "cogent/facts/KBFacts.h"
#include "cogent/facts/KBModule.h"
#include "cogent/facts/KBPackages.h"
#include "cogent/facts/KBSlotTest.h"
#include "cogent/fuzzy/VXFuzzyLogic.h"

namespace cogent {

// The pieces every printed construct is made of.
// A text nested one level deeper: each line end is followed by the indent.
std::string NestText(const std::string& Text);
// Removes the white space at the right end and closes the text with ")".
std::string CloseText(std::string Text);
// A construct's comment: between double quotes, as it stands, unescaped.
std::string QuotedComment(const std::string& Comment);

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

// A pattern with its wrappers: "(name (slot tests) )", "(not ...)",
// "?f <- ...", or "(test call)". Engine, when given, numbers the variables
// that stand in for tests with no text. Raises _SNoTemplate without a template.
std::string PrettyPrint(const TKBPattern& Pattern, IKnowledgeBase* Engine);
// "(deffacts ...)" with one fact a line.
std::string PrettyPrint(const TFactSet& FactSet, bool PrintModuleQualifiers);
// "(defmodule name ...)" with its export and import declarations.
std::string PrettyPrint(const TModule& Module);
// "(deffunction name (arguments) statements)".
std::string PrettyPrint(const TInterpretedFunction& Function);
// A function's description as ";; " comment lines: its name, and with a
// comment that comment and the syntax line. A deffunction prints its text.
std::string PrettyPrint(const TKBUserFunction& Function);
// One global: "?name = value"; empty for an empty name.
std::string PrettyPrint(const std::string& Name, const IKBValue& Value);
// A point list "((x y) ...)"; empty without points.
std::string PrettyPrint(const TSingletonsVector& Singletons);
// A set by its name, or as a definition "(term name shape)".
std::string PrettyPrint(const TFuzzySet& FuzzySet, bool AsDefinition);
// The shape alone: "(tri ...)" and its kin, the expression the set came
// from, or its points.
std::string FuzzyShapeText(const TFuzzySet& FuzzySet);
// The body of a fuzzy type: its range, units and terms.
std::string PrettyPrint(const TFuzzyVariable& Variable);

}  // namespace cogent
