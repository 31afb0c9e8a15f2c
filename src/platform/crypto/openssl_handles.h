// Owners of what OpenSSL hands out, for the ports that work with it.
#pragma once

#include <openssl/bio.h>
#include <openssl/x509v3.h>

#include <climits>
#include <memory>
#include <string>
#include <string_view>

namespace kelvarion::platform {

template <auto Free>
struct OpenSslDeleter {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};

using BioHandle = std::unique_ptr<BIO, OpenSslDeleter<BIO_free>>;
using GeneralNamesHandle = std::unique_ptr<GENERAL_NAMES, OpenSslDeleter<GENERAL_NAMES_free>>;

// Reads the text, which must outlive it; null when there is too much of it.
inline BioHandle ReadFrom(std::string_view text) {
  if (text.size() > INT_MAX) return nullptr;
  return BioHandle(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

// What was written to a memory stream.
inline std::string Written(const BioHandle& bio) {
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(bio.get(), &bytes);
  return size > 0 ? std::string(bytes, static_cast<std::size_t>(size)) : std::string();
}

}  // namespace kelvarion::platform
