#ifndef TRUSTLIB_CERTIFICATE_EXCEPTION_CODEC_H
#define TRUSTLIB_CERTIFICATE_EXCEPTION_CODEC_H

#include "trustlib/CertificateException.h"

// Turns a user's decision into the bytes of one file and back.
//
// Beside TrustManagerException objects, both operations let out the pointers to one that the
// text encoder and decoder throw in a few cases; whoever catches such a pointer deletes it.
class TRUSTLIB_EXPORT CertificateExceptionCodec {
 public:
  virtual ~CertificateExceptionCodec();

  // Hands out the record's bytes, `*length` of them, in a buffer that the caller frees with
  // free(). Throws when the record cannot be encoded; `*buffer` then holds nothing to free.
  virtual void encode(const CertificateException* exception, unsigned char** buffer,
                      unsigned int* length)
      TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) = 0;

  // Makes the record that the bytes stand for; the caller owns it. Throws when they stand for
  // none, with `*exception` untouched. The bytes need no terminator and stay the caller's.
  virtual void decode(const unsigned char* buffer, unsigned int length,
                      CertificateException** exception)
      TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) = 0;
};

#endif
