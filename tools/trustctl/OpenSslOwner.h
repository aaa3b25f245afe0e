#ifndef TOOLS_TRUSTCTL_OPENSSLOWNER_H
#define TOOLS_TRUSTCTL_OPENSSLOWNER_H

#include <memory>

// Frees an OpenSSL object with its own function: OpenSslOwner<X509, X509_free>.
template <auto release>
struct OpenSslDeleter {
  template <class T>
  void operator()(T* object) const {
    release(object);
  }
};

template <class T, auto release>
using OpenSslOwner = std::unique_ptr<T, OpenSslDeleter<release>>;

#endif
