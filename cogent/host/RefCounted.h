#pragma once
// Intrusive reference counting: the counted interfaces of the engine are
// Ref<T> handles to the root class of the family that implements them.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "cogent/host/Object.h"

namespace cogent {

// The count sits right after the table pointer of TObject, and a derived
// class's first small field fills the rest of that word.
class TRefCounted : public TObject {
public:
  TRefCounted() noexcept = default;
  // A copy is a new object: it starts with no references.
  TRefCounted(const TRefCounted&) noexcept : TObject() {}
  TRefCounted& operator=(const TRefCounted&) noexcept { return *this; }

  std::int32_t _AddRef() const noexcept {
    return FRefCount.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  std::int32_t _Release() const noexcept {
    const std::int32_t Result = FRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (Result == 0) delete this;
    return Result;
  }
  std::int32_t GetRefCount() const noexcept { return FRefCount.load(std::memory_order_relaxed); }

private:
  mutable std::atomic<std::int32_t> FRefCount{0};
};

// A counted handle that may be nil.
template <class T>
class Ref {
public:
  using element_type = T;

  Ref() noexcept = default;
  Ref(std::nullptr_t) noexcept {}
  explicit Ref(T* P) noexcept : FPtr(P) { Acquire(); }
  Ref(const Ref& Other) noexcept : FPtr(Other.FPtr) { Acquire(); }
  Ref(Ref&& Other) noexcept : FPtr(std::exchange(Other.FPtr, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(const Ref<U>& Other) noexcept : FPtr(Other.get()) { Acquire(); }
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(Ref<U>&& Other) noexcept : FPtr(Other.detach()) {}
  ~Ref() { Drop(); }

  Ref& operator=(const Ref& Other) noexcept {
    Ref(Other).swap(*this);
    return *this;
  }
  Ref& operator=(Ref&& Other) noexcept {
    Ref(std::move(Other)).swap(*this);
    return *this;
  }
  Ref& operator=(std::nullptr_t) noexcept {
    reset();
    return *this;
  }

  T* get() const noexcept { return FPtr; }
  T* operator->() const noexcept { return FPtr; }
  T& operator*() const noexcept { return *FPtr; }
  explicit operator bool() const noexcept { return FPtr != nullptr; }

  void reset() noexcept { Ref().swap(*this); }
  void swap(Ref& Other) noexcept { std::swap(FPtr, Other.FPtr); }
  // Gives up the reference without releasing it.
  T* detach() noexcept { return std::exchange(FPtr, nullptr); }

  // "Supports the interface": a checked cast to another handle type.
  template <class U>
  Ref<U> As() const noexcept {
    return Ref<U>(dynamic_cast<U*>(FPtr));
  }

  friend bool operator==(const Ref& A, const Ref& B) noexcept { return A.FPtr == B.FPtr; }
  friend bool operator==(const Ref& A, std::nullptr_t) noexcept { return A.FPtr == nullptr; }

private:
  void Acquire() const noexcept {
    if (FPtr) static_cast<const TRefCounted*>(FPtr)->_AddRef();
  }
  void Drop() noexcept {
    if (FPtr) static_cast<const TRefCounted*>(std::exchange(FPtr, nullptr))->_Release();
  }

  T* FPtr = nullptr;
};

template <class T, class... Args>
Ref<T> MakeRef(Args&&... AArgs) {
  return Ref<T>(new T(std::forward<Args>(AArgs)...));
}

template <class T, class U>
bool SameObject(const Ref<T>& A, const Ref<U>& B) noexcept {
  return static_cast<const void*>(dynamic_cast<const TRefCounted*>(A.get())) ==
         static_cast<const void*>(dynamic_cast<const TRefCounted*>(B.get()));
}

// The untyped counted interface.
using IInterface = Ref<TRefCounted>;

}  // namespace cogent
