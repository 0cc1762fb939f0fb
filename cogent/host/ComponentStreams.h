#pragma once
// The component stream form: the properties that a component defines for
// itself (DefineProperties), as readable text.
//
//   object TInferenceEngine
//     ModuleText = "(deftemplate point (slot x))\r\n"
//     FactsList = ("(point (x 1))" "(point (x 2))")
//     GlobalVariables.Variables = ("(defglobal ?*limit* = 3)")
//   end
//
// A property is a text or a list of texts, each in double quotes with
// backslash, quote, CR, LF and tab escaped (\\ \" \r \n \t). The properties
// of an object that the component holds carry its name and a dot.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cogent/host/Classes.h"
#include "cogent/host/Streams.h"

namespace cogent {

class TFiler {
public:
  using TTextReader = std::function<void(const std::string&)>;
  using TTextWriter = std::function<std::string()>;
  using TListReader = std::function<void(const std::vector<std::string>&)>;
  using TListWriter = std::function<std::vector<std::string>()>;

  virtual ~TFiler() = default;
  // A writer writes the property when HasData; a reader reads it when the
  // stream holds it, whether or not it would ever be written.
  virtual void DefineProperty(const std::string& Name, const TTextReader& Reader, const TTextWriter& Writer,
                              bool HasData) = 0;
  virtual void DefineListProperty(const std::string& Name, const TListReader& Reader, const TListWriter& Writer,
                                  bool HasData) = 0;
  // The properties of Child, an object this one holds, under Name.
  void DefineChild(const std::string& Name, TPersistent& Child);

protected:
  std::string FullName(const std::string& Name) const { return FPrefix + Name; }

private:
  std::string FPrefix;
};

class TWriter : public TFiler {
public:
  explicit TWriter(TStream& AStream) : FStream(AStream) {}
  void DefineProperty(const std::string& Name, const TTextReader& Reader, const TTextWriter& Writer,
                      bool HasData) override;
  void DefineListProperty(const std::string& Name, const TListReader& Reader, const TListWriter& Writer,
                          bool HasData) override;
  void WriteText(const std::string& Text);

private:
  TStream& FStream;
};

class TReader : public TFiler {
public:
  // Reads the whole object from Stream; EReadError when it is no object in
  // this form.
  explicit TReader(TStream& Stream);
  const std::string& GetClassName() const noexcept { return FClassName; }
  void DefineProperty(const std::string& Name, const TTextReader& Reader, const TTextWriter& Writer,
                      bool HasData) override;
  void DefineListProperty(const std::string& Name, const TListReader& Reader, const TListWriter& Writer,
                          bool HasData) override;
  // EReadError for the first property that nobody defined.
  void CheckAllRead() const;

private:
  struct TValue {
    bool IsList = false;
    std::vector<std::string> Texts;
    bool Read = false;
  };
  std::string FClassName;
  std::map<std::string, TValue> FValues;
};

// Writes the properties Component defines.
void WriteComponent(TStream& Stream, TComponent& Component);
// Reads them back into Component, which is loading meanwhile: its Loaded,
// and that of what it owns, comes once at the end.
void ReadComponent(TStream& Stream, TComponent& Component);

}  // namespace cogent
