// A small host program: it creates an engine, prints what the engine holds
// and shows a few values, then exits.

#include <iostream>

#include "cogent/cogent.h"

using namespace cogent;

int main() {
  TInferenceEngine Engine;
  std::cout << "Cogent engine, version " << FloatToStr(Engine.GetVersion()) << "\n";
  std::cout << "Modules: " << Engine.GetModules()->ToNamesString(", ") << "\n";
  std::cout << "Current module: " << Engine.GetCurrentModule()->GetName() << "\n";
  std::cout << "Focus stack: " << Engine.GetFocusStack()->ToNamesString(", ") << "\n";
  std::cout << "Fact templates of the current module:";
  for (int I = 0; I < Engine.GetFactTemplates()->GetCount(); ++I)
    std::cout << " " << Engine.GetFactTemplates()->GetItemByIndex(I)->GetTemplateName();
  std::cout << "\n";
  // Constructs read from text are echoed through OnPrintOut and kept.
  Engine.Parse("(deftype percent extends (type INTEGER) (range 0 100))", true);
  Engine.Parse("(deftemplate reading \"a sensor reading\" (slot level (type percent) (default 50))"
               " (multislot tags (type SYMBOL) (cardinality 0 3)))",
               true);
  std::cout << "A template written back:\n" << Engine.FindFactTemplate("reading")->ToString() << "\n";
  Engine.Assert("(reading (tags hot))");
  try {
    Engine.Assert("(reading (level 120))");
  } catch (const EKBException& E) {
    std::cout << "Asserting a level of 120: " << E.what() << "\n";
  }
  Engine.Assert("(colour red)");
  Engine.Assert("(point 1 2.5 \"origin\")");
  // An equal fact is refused unless FactDuplication is set.
  std::cout << "Asserting (colour red) again gives " << Engine.Assert("(colour red)") << "\n";
  std::cout << "Facts:\n" << Engine.GetFacts()->GetToIDString() << "\n";

  IValueVector Items(new TValueVector());
  Items->Add(IKBValue(new TKBValue("red", dtAtom)));
  Items->Add(IKBValue(new TKBValue(42, dtInteger)));
  Items->Add(IKBValue(new TKBValue(2.5)));
  Items->Add(IKBValue(new TKBValue("a \"quoted\" text", dtString)));
  IKBValue List(new TKBValue(Items));
  std::cout << "A list value: (" << List->GetToString() << ")\n";
  std::cout << "42 equals 42.0: " << (Items->Get(1)->Equals(IKBValue(new TKBValue(42.0))) ? "yes" : "no")
            << "; loosely: " << (Items->Get(1)->EqualsStar(IKBValue(new TKBValue(42.0))) ? "yes" : "no") << "\n";
  try {
    Items->Get(0)->GetAsInteger();
  } catch (const EKBException& E) {
    std::cout << "Reading red as a number: " << E.what() << "\n";
  }
  return 0;
}
