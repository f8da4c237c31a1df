// The owning handle of du::RefCounted objects.
#ifndef LMKUTILS_MEMORY_SMART_PTR_H
#define LMKUTILS_MEMORY_SMART_PTR_H

#include <compare>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include "lmkutils/memory/ref_counted.h"

namespace du {

// Holds one reference to a T derived from RefCounted, or nothing. The handle that takes away the last
// reference deletes the object through its virtual destructor, exactly once, unless ZeroReferenceCountHook
// says no. Objects are shared between threads freely; one SmartPtr object is not, without a lock of the
// caller.
//
// Never make a SmartPtr to `this` inside a constructor: when it goes, the count falls back to 0 and the
// object is deleted while it is being built.
template <class T>
class SmartPtr {
 public:
  using element_type = T;

  constexpr SmartPtr() noexcept = default;
  constexpr SmartPtr(std::nullptr_t) noexcept {}
  SmartPtr(T* object) noexcept : object_(object) { Add(); }
  SmartPtr(const SmartPtr& other) noexcept : object_(other.object_) { Add(); }
  SmartPtr(SmartPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

  template <class U>
  requires std::is_convertible_v<U*, T*> SmartPtr(const SmartPtr<U>& other)
  noexcept : object_(other.get()) { Add(); }
  template <class U>
  requires std::is_convertible_v<U*, T*> SmartPtr(SmartPtr<U>&& other)
  noexcept : object_(other.release()) {}

  ~SmartPtr() { Remove(object_); }

  // The new reference is taken first and the old one dropped last: assigning a handle to itself keeps the
  // object, and an old object whose destructor comes back to this handle finds the new one in it.
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy keeps it
  SmartPtr& operator=(const SmartPtr& other) noexcept {
    SmartPtr(other).swap(*this);
    return *this;
  }
  SmartPtr& operator=(SmartPtr&& other) noexcept {
    SmartPtr(std::move(other)).swap(*this);
    return *this;
  }
  SmartPtr& operator=(T* object) noexcept {
    SmartPtr(object).swap(*this);
    return *this;
  }
  SmartPtr& operator=(std::nullptr_t) noexcept {
    reset();
    return *this;
  }

  void reset(T* object = nullptr) noexcept { SmartPtr(object).swap(*this); }

  // Gives up the object without dropping its reference: the caller owns that now. See Attach.
  [[nodiscard]] T* release() noexcept { return std::exchange(object_, nullptr); }

  // A handle that takes over a reference that the caller already owns.
  [[nodiscard]] static SmartPtr Attach(T* object) noexcept {
    SmartPtr handle;
    handle.object_ = object;
    return handle;
  }

  void swap(SmartPtr& other) noexcept { std::swap(object_, other.object_); }

  [[nodiscard]] T* get() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  T* operator->() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

 private:
  void Add() const noexcept {
    if (object_ != nullptr) object_->AddReference();
  }
  static void Remove(T* object) noexcept {
    if (object != nullptr && object->RemoveReference() == 0 && object->ZeroReferenceCountHook())
      delete object;
  }

  T* object_ = nullptr;
};

template <class T>
void swap(SmartPtr<T>& a, SmartPtr<T>& b) noexcept {
  a.swap(b);
}

// Two handles are equal when they hold the same object; the order is that of the addresses.
template <class T, class U>
bool operator==(const SmartPtr<T>& a, const SmartPtr<U>& b) noexcept {
  return a.get() == b.get();
}
template <class T, class U>
requires std::is_convertible_v<U*, const volatile T*> || std::is_convertible_v<const volatile T*, U*>
bool operator==(const SmartPtr<T>& a, U* b) noexcept {
  return a.get() == b;
}
template <class T>
bool operator==(const SmartPtr<T>& a, std::nullptr_t) noexcept {
  return a.get() == nullptr;
}
template <class T>
std::strong_ordering operator<=>(const SmartPtr<T>& a, const SmartPtr<T>& b) noexcept {
  return std::compare_three_way()(a.get(), b.get());
}

// The casts of plain pointers, for handles.
template <class T, class U>
[[nodiscard]] SmartPtr<T> StaticPointerCast(const SmartPtr<U>& handle) noexcept {
  return SmartPtr<T>(static_cast<T*>(handle.get()));
}
template <class T, class U>
[[nodiscard]] SmartPtr<T> DynamicPointerCast(const SmartPtr<U>& handle) noexcept {
  return SmartPtr<T>(dynamic_cast<T*>(handle.get()));
}

// A new object in a handle.
template <class T, class... Args>
[[nodiscard]] SmartPtr<T> MakeShared(Args&&... args) {
  return SmartPtr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace du

template <class T>
struct std::hash<du::SmartPtr<T>> {
  std::size_t operator()(const du::SmartPtr<T>& handle) const noexcept {
    return std::hash<T*>()(handle.get());
  }
};

#endif
