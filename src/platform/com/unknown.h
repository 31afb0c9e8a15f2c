// The base of every interface that crosses the provider's boundary, its owning pointer, and the
// implementation of reference counting that our own objects use.
#pragma once

#include <atomic>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/com/types.h"

namespace kelvarion {

// An interface names itself by a static `kIid`. Objects destroy themselves on the last Release.
class IUnknown {
 public:
  static constexpr Guid kIid{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // On success `out` holds a reference that the caller releases; on E_NOINTERFACE it is null.
  virtual HRESULT QueryInterface(const Guid& iid, void** out) = 0;
  virtual std::uint32_t AddRef() = 0;
  virtual std::uint32_t Release() = 0;

 protected:
  ~IUnknown() = default;
};

// Owns one reference, or none. Safe to move between threads, not to share.
template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): null converts as for pointers
  explicit ComPtr(T* object) : object_(object) {
    if (object_) object_->AddRef();
  }
  ComPtr(const ComPtr& other) : ComPtr(other.object_) {}
  template <class U>
  requires std::is_convertible_v<U*, T*> ComPtr(const ComPtr<U>& other)  // NOLINT: as pointers do
      : ComPtr(other.Get()) {}
  ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComPtr() {
    if (object_) object_->Release();
  }

  // Takes over a reference that the caller already holds.
  static ComPtr Adopt(T* object) {
    ComPtr result;
    result.object_ = object;
    return result;
  }

  T* Get() const { return object_; }
  T* operator->() const { return object_; }
  T& operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }
  friend bool operator==(const ComPtr&, const ComPtr&) = default;

  // Hands the reference to the caller.
  T* Detach() { return std::exchange(object_, nullptr); }
  // For out-parameters: drops what is held.
  T** Put() {
    *this = nullptr;
    return &object_;
  }
  void** PutVoid() { return reinterpret_cast<void**>(Put()); }

  // The object's other interface, empty when it has none.
  template <class U>
  ComPtr<U> As() const {
    ComPtr<U> result;
    if (object_) object_->QueryInterface(U::kIid, result.PutVoid());
    return result;
  }

 private:
  T* object_ = nullptr;
};

// Implements IUnknown for a class that offers `Interfaces`; counting is atomic. Objects start with
// one reference, which MakeCom hands to a ComPtr.
template <class... Interfaces>
class ComObject : public Interfaces... {
 public:
  ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  HRESULT QueryInterface(const Guid& iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IUnknown::kIid) *out = static_cast<IUnknown*>(First());
    (Offer<Interfaces>(iid, out), ...);
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  std::uint32_t AddRef() override {
    return references_.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  std::uint32_t Release() override {
    const std::uint32_t left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~ComObject() = default;

 private:
  auto* First() { return static_cast<std::tuple_element_t<0, std::tuple<Interfaces...>>*>(this); }
  template <class I>
  void Offer(const Guid& iid, void** out) {
    if (iid == I::kIid) *out = static_cast<I*>(this);
  }

  std::atomic<std::uint32_t> references_{1};
};

template <class T, class... Args>
ComPtr<T> MakeCom(Args&&... args) {
  return ComPtr<T>::Adopt(new T(std::forward<Args>(args)...));
}

// Makes instances of one class for hosts that know only its identifier.
class IClassFactory : public IUnknown {
 public:
  static constexpr Guid kIid{0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT CreateInstance(IUnknown* outer, const Guid& iid, void** out) = 0;
  // Keeps the factory's library loaded while the count is above zero.
  virtual HRESULT LockServer(bool lock) = 0;

 protected:
  ~IClassFactory() = default;
};

}  // namespace kelvarion
