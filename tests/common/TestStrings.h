#pragma once
// A plain TStrings for the tests: lines and their objects in two vectors.

#include <string>
#include <vector>

#include "cogent/host/Classes.h"

namespace cogent {

class TTestStrings : public TStrings {
public:
  std::vector<std::string> FLines;
  std::vector<TObject*> FObjects;

  int GetCount() const override { return static_cast<int>(FLines.size()); }
  std::string Get(int Index) const override { return FLines.at(static_cast<std::size_t>(Index)); }
  TObject* GetObject(int Index) const override { return FObjects.at(static_cast<std::size_t>(Index)); }
  void PutObject(int Index, TObject* AObject) override { FObjects.at(static_cast<std::size_t>(Index)) = AObject; }
  void Clear() override {
    FLines.clear();
    FObjects.clear();
  }
  void Delete(int Index) override {
    FLines.erase(FLines.begin() + Index);
    FObjects.erase(FObjects.begin() + Index);
  }
  void Insert(int Index, const std::string& S) override { InsertObject(Index, S, nullptr); }
  void InsertObject(int Index, const std::string& S, TObject* AObject) override {
    FLines.insert(FLines.begin() + Index, S);
    FObjects.insert(FObjects.begin() + Index, AObject);
  }
  int Add(const std::string& S) override { return AddObject(S, nullptr); }
  int AddObject(const std::string& S, TObject* AObject) override {
    InsertObject(GetCount(), S, AObject);
    return GetCount() - 1;
  }
};

}  // namespace cogent
