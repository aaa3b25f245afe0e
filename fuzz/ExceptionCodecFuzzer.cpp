// The codec of stored decisions: bytes are refused with a TrustManagerException, or are a record
// that is written and read back as an equal one.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "fuzz/Property.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateExceptionJsonCodec.h"

namespace {

using RecordPtr = std::unique_ptr<CertificateException>;

// NULL when it is refused.
RecordPtr decoded(const std::string& bytes) {
  CertificateException* record = nullptr;
  try {
    CertificateExceptionJsonCodec().decode(reinterpret_cast<const unsigned char*>(bytes.data()),
                                           static_cast<unsigned int>(bytes.size()), &record);
  } catch (const TrustManagerException&) {
    require(record == nullptr, "what is refused is no record");
  } catch (const TrustManagerException* thrown) {
    delete thrown;
    require(record == nullptr, "what is refused is no record");
  }
  return RecordPtr(record);
}

std::string encoded(const CertificateException& record) {
  unsigned char* buffer = nullptr;
  unsigned int length = 0;
  CertificateExceptionJsonCodec().encode(&record, &buffer, &length);
  const std::unique_ptr<unsigned char, decltype(&free)> owner(buffer, &free);
  return {reinterpret_cast<char*>(buffer), length};
}

std::string hashOf(const CertificateException& record) {
  unsigned char* hash = nullptr;
  unsigned int length = 0;
  require(record.hash(&hash, &length) == 0, "every record has a hash");
  const std::unique_ptr<unsigned char, decltype(&free)> owner(hash, &free);
  return {reinterpret_cast<char*>(hash), length};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const RecordPtr record = decoded({reinterpret_cast<const char*>(data), size});
  if (record == nullptr) return 0;
  const std::string text = encoded(*record);
  const RecordPtr again = decoded(text);
  require(again != nullptr, "what is written can be read");
  require(record->compare(again.get()) && again->compare(record.get()),
          "what is written reads back as an equal record");
  require(hashOf(*record) == hashOf(*again), "equal records have one hash");
  require(encoded(*again) == text, "equal records are written the same");
  return 0;
}
