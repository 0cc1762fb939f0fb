#pragma once
// A vector that assigns from another of its kind.

#include <vector>

namespace cogent {

template <class T>
class TVXAssignList : public std::vector<T> {
public:
  using std::vector<T>::vector;
  TVXAssignList() = default;
  TVXAssignList(const TVXAssignList&) = default;
  TVXAssignList(TVXAssignList&&) noexcept = default;
  TVXAssignList& operator=(const TVXAssignList&) = default;
  TVXAssignList& operator=(TVXAssignList&&) noexcept = default;
  virtual ~TVXAssignList() = default;

  // Clears the list and adds the source's items in order.
  virtual void Assign(const TVXAssignList<T>& Source) {
    if (&Source == this) return;
    this->clear();
    this->insert(this->end(), Source.begin(), Source.end());
  }
};

}  // namespace cogent
