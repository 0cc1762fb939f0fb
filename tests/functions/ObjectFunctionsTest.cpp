#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "FunctionsTestSupport.h"
#include "cogent/host/TypInfo.h"

namespace cogent::test {

namespace {

enum TGaugeColor : std::uint8_t { gcRed, gcGreen, gcBlue };
enum TGaugeOption : std::uint8_t { goBold, goItalic, goUnderline };
using TGaugeOptions = TSet<TGaugeOption>;

// A host component as a host publishes one: a property of each kind, an
// event, a property of a kind without a mapping, and a read-only one.
class TGauge : public TComponent {
public:
  explicit TGauge(TComponent* AOwner) : TComponent(AOwner) {}

  std::int32_t GetLevel() const { return FLevel; }
  void SetLevel(std::int32_t Value) { FLevel = Value; }
  std::int64_t GetTotal() const { return FTotal; }
  void SetTotal(std::int64_t Value) { FTotal = Value; }
  double GetRatio() const { return FRatio; }
  void SetRatio(double Value) { FRatio = Value; }
  const std::string& GetCaption() const { return FCaption; }
  void SetCaption(const std::string& Value) { FCaption = Value; }
  char32_t GetMark() const { return FMark; }
  void SetMark(char32_t Value) { FMark = Value; }
  TGaugeColor GetColor() const { return FColor; }
  void SetColor(TGaugeColor Value) { FColor = Value; }
  bool GetEnabled() const { return FEnabled; }
  void SetEnabled(bool Value) { FEnabled = Value; }
  TGaugeOptions GetOptions() const { return FOptions; }
  void SetOptions(TGaugeOptions Value) { FOptions = Value; }
  TGauge* GetPartner() const { return FPartner; }
  void SetPartner(TGauge* Value) { FPartner = Value; }

  TNotifyEvent OnChange;

private:
  std::int32_t FLevel = 3;
  std::int64_t FTotal = (std::int64_t{1} << 32) + 5;
  double FRatio = 0.25;
  std::string FCaption = "日本";
  char32_t FMark = U'é';
  TGaugeColor FColor = gcGreen;
  bool FEnabled = false;
  TGaugeOptions FOptions{goBold, goUnderline};
  TGauge* FPartner = nullptr;
};

// Not a component: nothing can tell a value that it is gone.
class TPlainThing : public TObject {};

[[maybe_unused]] const bool Published = [] {
  RegisterClass<TComponent, TPersistent>();
  RegisterClass<TGauge, TComponent>();
  RegisterClass<TPlainThing, TObject>();
  RegisterClass<TBasicAction, TComponent>();
  PublishedProperties<TGauge>()
      .Integer("Level", &TGauge::GetLevel, &TGauge::SetLevel)
      .Int64("Total", &TGauge::GetTotal, &TGauge::SetTotal)
      .Float("Ratio", &TGauge::GetRatio, &TGauge::SetRatio)
      .String("Caption", &TGauge::GetCaption, &TGauge::SetCaption)
      .Char("Mark", &TGauge::GetMark, &TGauge::SetMark)
      .Enumeration<TGaugeColor>("Color", {"gcRed", "gcGreen", "gcBlue"}, &TGauge::GetColor, &TGauge::SetColor)
      .Boolean("Enabled", &TGauge::GetEnabled, &TGauge::SetEnabled)
      .Set<TGaugeOption>("Options", {"goBold", "goItalic", "goUnderline"}, &TGauge::GetOptions, &TGauge::SetOptions)
      .Object<TGauge>("Partner", &TGauge::GetPartner, &TGauge::SetPartner)
      .Integer("Twice", [](const TGauge& G) { return G.GetLevel() * 2; }, nullptr)
      .Other("OnChange", tkMethod)
      .Other("Data", tkVariant);
  return true;
}();

// A form with two gauges and an engine, as a host application holds them.
struct THost {
  THost() {
    Form.SetName("Form");
    Gauge1->SetName("Gauge1");
    Gauge2->SetName("Gauge2");
    Engine = new TInferenceEngine(&Form);
    SetVariable(*Engine, "g1", IKBValue(new TKBValue(Gauge1, false)));
    SetVariable(*Engine, "none", IKBValue(new TKBValue(static_cast<TObject*>(nullptr), false)));
  }
  TComponent Form{nullptr};
  TGauge* Gauge1 = new TGauge(&Form);
  TGauge* Gauge2 = new TGauge(&Form);
  TInferenceEngine* Engine;
};

}  // namespace

TEST(ObjectFunctions, TheComponentTreeBelowTheOwner) {
  THost Host;
  TInferenceEngine& Engine = *Host.Engine;
  EXPECT_EQ("dtObject <Object: TComponent>", Eval(Engine, "(get-component)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(eq (get-component \"gauge2\") (get-component (get-component) Gauge2))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(get-component \"Nosuch\")"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(get-component ?g1 \"Nosuch\")"));
  EXPECT_EQ("dtList <Object: TGauge> <Object: TGauge> <Object: TInferenceEngine> ",
            Eval(Engine, "(get-components)"));
  EXPECT_EQ("dtList ", Eval(Engine, "(get-components ?g1)"));
  EXPECT_EQ("Expected component argument to get-component function call",
            ErrorOfCall(Engine, "(get-component ?none \"Gauge1\")"));
  EXPECT_EQ("Expected component argument to get-components function call",
            ErrorOfCall(Engine, "(get-components ?none)"));
  SetVariable(Engine, "plain", IKBValue(new TKBValue(new TPlainThing, true)));
  EXPECT_EQ("Invalid class typecast", ErrorOfCall(Engine, "(get-components ?plain)"));
  EXPECT_EQ("Not a object type.  Value (Form) is a dtAtom type", ErrorOfCall(Engine, "(get-component Form x)"));
  EXPECT_EQ("Too many arguments for get-component", ErrorOfCall(Engine, "(get-component a b c)"));

  // An engine without owner has no root to search.
  TInferenceEngine Alone;
  EXPECT_EQ("dtAtom FALSE", Eval(Alone, "(get-component)"));
  EXPECT_EQ("Expected component argument to get-component function call",
            ErrorOfCall(Alone, "(get-component \"Nosuch\")"));
  EXPECT_EQ("Expected component argument to get-components function call", ErrorOfCall(Alone, "(get-components)"));
}

TEST(ObjectFunctions, ReadingPropertiesByKind) {
  THost Host;
  TInferenceEngine& Engine = *Host.Engine;
  Host.Gauge1->SetPartner(Host.Gauge2);
  EXPECT_EQ("dtInteger 3", Eval(Engine, "(get-property ?g1 \"level\")"));
  EXPECT_EQ("dtInteger 5", Eval(Engine, "(get-property ?g1 Total)"));  // cut to 32 bits
  EXPECT_EQ("dtFloat 0.2500", Eval(Engine, "(get-property ?g1 Ratio)"));
  EXPECT_EQ("dtString \"日本\"", Eval(Engine, "(get-property ?g1 Caption)"));
  EXPECT_EQ("dtString \"é\"", Eval(Engine, "(get-property ?g1 Mark)"));
  EXPECT_EQ("dtAtom gcGreen", Eval(Engine, "(get-property ?g1 Color)"));
  EXPECT_EQ("dtAtom False", Eval(Engine, "(get-property ?g1 Enabled)"));
  EXPECT_EQ("dtString \"[goBold,goUnderline]\"", Eval(Engine, "(get-property ?g1 Options)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(eq (get-property ?g1 Partner) (get-component Gauge2))"));
  EXPECT_EQ("dtString \"Gauge1\"", Eval(Engine, "(get-property ?g1 Name)"));
  EXPECT_EQ("dtInteger 6", Eval(Engine, "(get-property ?g1 Twice)"));
  EXPECT_EQ("nil", Eval(Engine, "(get-property ?g1 \"Nosuch\")"));
  EXPECT_EQ("Invalid property type: tkVariant", ErrorOfCall(Engine, "(get-property ?g1 Data)"));
  EXPECT_EQ("Invalid property type: tkMethod", ErrorOfCall(Engine, "(get-property ?g1 OnChange)"));
  // Sorted, events left out, a component's own properties included.
  EXPECT_EQ("dtList Caption Color Data Enabled Level Mark Name Options Partner Ratio Tag Total Twice ",
            Eval(Engine, "(get-properties ?g1)"));

  // Nil, or an object that publishes nothing.
  SetVariable(Engine, "plain", IKBValue(new TKBValue(new TPlainThing, true)));
  for (const char* Object : {"?none", "?plain"}) {
    EXPECT_EQ("dtAtom FALSE", Eval(Engine, std::string("(get-property ") + Object + " Level)"));
    EXPECT_EQ("dtAtom FALSE", Eval(Engine, std::string("(get-properties ") + Object + ")"));
    EXPECT_EQ("dtAtom FALSE", Eval(Engine, std::string("(set-property ") + Object + " Level 1)"));
  }
  EXPECT_EQ("Not a object type.  Value (3) is a dtInteger type", ErrorOfCall(Engine, "(get-property 3 Level)"));
}

TEST(ObjectFunctions, WritingPropertiesByKind) {
  THost Host;
  TInferenceEngine& Engine = *Host.Engine;
  TGauge& G = *Host.Gauge1;
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Level 7.9)"));
  EXPECT_EQ(G.GetLevel(), 7);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Total -2)"));
  EXPECT_EQ(G.GetTotal(), -2);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Ratio 2)"));
  EXPECT_EQ(G.GetRatio(), 2.0);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Caption 12)"));
  EXPECT_EQ(G.GetCaption(), "12");
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Mark \"😀\")"));
  EXPECT_EQ(G.GetMark(), U'😀');
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Color GCBLUE)"));
  EXPECT_EQ(G.GetColor(), gcBlue);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Enabled TRUE)"));
  EXPECT_TRUE(G.GetEnabled());
  EXPECT_EQ("dtAtom True", Eval(Engine, "(get-property ?g1 Enabled)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Options \"[goItalic, goBold]\")"));
  EXPECT_EQ(G.GetOptions(), (TGaugeOptions{goBold, goItalic}));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Options \"[]\")"));
  EXPECT_TRUE(G.GetOptions().Empty());
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Partner (get-component Gauge2))"));
  EXPECT_EQ(G.GetPartner(), Host.Gauge2);
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 Partner ?none)"));
  EXPECT_EQ(G.GetPartner(), nullptr);
  // An event is passed over, and so is its value.
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?g1 OnChange (undefined-function))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(set-property ?g1 Nosuch 1)"));

  EXPECT_EQ("Invalid property element: purple", ErrorOfCall(Engine, "(set-property ?g1 Color purple)"));
  EXPECT_EQ("Invalid property element: goWide", ErrorOfCall(Engine, "(set-property ?g1 Options \"[goBold,goWide]\")"));
  EXPECT_EQ("Invalid property value", ErrorOfCall(Engine, "(set-property ?g1 Mark ab)"));
  EXPECT_EQ("Invalid property value", ErrorOfCall(Engine, "(set-property ?g1 Mark \"\")"));
  EXPECT_EQ("Property Twice is read-only", ErrorOfCall(Engine, "(set-property ?g1 Twice 1)"));
  EXPECT_EQ("Invalid property type: tkVariant", ErrorOfCall(Engine, "(set-property ?g1 Data 1)"));
  EXPECT_EQ("Invalid class typecast", ErrorOfCall(Engine, "(set-property ?g1 Partner (get-component))"));
  EXPECT_EQ("Not a integer type.  Value (x) is a dtAtom type", ErrorOfCall(Engine, "(set-property ?g1 Level x)"));
  EXPECT_EQ(G.GetLevel(), 7);
  EXPECT_EQ("Too few arguments for set-property", ErrorOfCall(Engine, "(set-property ?g1 Level)"));
}

TEST(ObjectFunctions, ClassesActionsAndLifetimes) {
  THost Host;
  TInferenceEngine& Engine = *Host.Engine;
  EXPECT_EQ("dtClass TGauge", Eval(Engine, "(get-class tgauge)"));
  EXPECT_EQ("Class TNosuch not found", ErrorOfCall(Engine, "(get-class TNosuch)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(is-class ?g1 (get-class TComponent))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(is-class (get-component) (get-class TGauge))"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(is-class ?none (get-class TGauge))"));
  EXPECT_EQ("Not a class type.  Value (TGauge) is a dtAtom type", ErrorOfCall(Engine, "(create-object TGauge)"));
  EXPECT_EQ("Cannot create an object of class TPlainThing: it is no component class",
            ErrorOfCall(Engine, "(create-object (get-class TPlainThing))"));

  // Made and freed from rules; the values that held them then hold nil.
  EXPECT_EQ("dtObject <Object: TGauge>", Eval(Engine, "(bind ?a (create-object (get-class TGauge)))"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(set-property ?a Level 42)"));
  EXPECT_EQ("dtInteger 42", Eval(Engine, "(get-property ?a Level)"));
  Eval(Engine, "(bind ?b (create-object (get-class TGauge)))");
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(eq ?a ?none)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(free-object ?a ?none ?b)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(eq ?a ?b ?none)"));
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(get-property ?a Level)"));
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(free-object ?a)"));

  // Freed by the host, a component leaves no dangling reference either, in
  // copies of the value too.
  const IKBValue Found = Engine.ParseNExecuteFunCall("(get-component Gauge2)");
  const IKBValue Copy = Found->Clone();
  delete Host.Gauge2;
  EXPECT_EQ(Copy->GetAsObject(), nullptr);
  EXPECT_EQ(Found->GetToString(), "");
  EXPECT_EQ("dtList <Object: TGauge> <Object: TInferenceEngine> ", Eval(Engine, "(get-components)"));
  delete Host.Gauge1;
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(get-property ?g1 Level)"));

  // The engine, what owns it and what it owns outlive the call.
  EXPECT_EQ("Cannot free Form: the engine depends on it", ErrorOfCall(Engine, "(free-object (get-component))"));
  SetVariable(Engine, "engine", IKBValue(new TKBValue(&Engine, false)));
  EXPECT_EQ("Cannot free TInferenceEngine: the engine depends on it", ErrorOfCall(Engine, "(free-object ?engine)"));
  SetVariable(Engine, "plain", IKBValue(new TKBValue(new TPlainThing, true)));
  EXPECT_EQ("Cannot free TPlainThing: it is no component", ErrorOfCall(Engine, "(free-object ?plain)"));

  // Actions: run when handled, FALSE when not or for nil.
  int Runs = 0;
  auto* Action = new TBasicAction(&Host.Form);
  Action->SetName("Act");
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(execute-action (get-component Act))"));
  Action->OnExecute = [&Runs](TObject*) { ++Runs; };
  EXPECT_EQ("dtAtom TRUE", Eval(Engine, "(execute-action (get-component Act))"));
  EXPECT_EQ(Runs, 1);
  EXPECT_EQ("dtAtom FALSE", Eval(Engine, "(execute-action ?none)"));
  EXPECT_EQ("Invalid class typecast", ErrorOfCall(Engine, "(execute-action (get-component))"));
}

}  // namespace cogent::test
