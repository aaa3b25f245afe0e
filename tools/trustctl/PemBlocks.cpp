#include "tools/trustctl/PemBlocks.h"

#include <memory>
#include <utility>

#include <fmt/format.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include "services/common/OpenSslOwners.h"
#include "tools/trustctl/CommandError.h"

namespace {

struct OpenSslFree {
  void operator()(void* memory) const { OPENSSL_free(memory); }
};
template <class T>
using OpenSslMemory = std::unique_ptr<T, OpenSslFree>;

[[noreturn]] void refuse(const std::string& name, const std::string& why) {
  throw CommandError(ExitStatus::wrongUse, fmt::format("{} {}", name, why));
}

// The next block, whose label is empty where there is none left. `found` blocks came before.
PemBlock readPemBlock(BIO* source, const std::string& name, std::size_t found) {
  char* label = nullptr;
  char* header = nullptr;
  unsigned char* data = nullptr;
  long length = 0;
  ERR_clear_error();
  if (PEM_read_bio(source, &label, &header, &data, &length) != 1) {
    const int reason = ERR_GET_REASON(ERR_peek_last_error());
    ERR_clear_error();
    if (reason == PEM_R_NO_START_LINE) {
      return {};
    }
    refuse(name, fmt::format("is damaged or cut short: PEM block {} has no proper text and END "
                             "line; get the whole file again",
                             found + 1));
  }
  const OpenSslMemory<char> ownedLabel(label);
  const OpenSslMemory<char> ownedHeader(header);
  const OpenSslMemory<unsigned char> ownedData(data);
  return {label, {data, data + length}};
}

std::size_t countOf(std::string_view mark, std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(mark); at != std::string_view::npos;
       at = text.find(mark, at + mark.size())) {
    ++count;
  }
  return count;
}

bool hasIndentedBegin(std::string_view text) {
  constexpr std::string_view mark = "-----BEGIN ";
  for (std::size_t at = text.find(mark); at != std::string_view::npos;
       at = text.find(mark, at + mark.size())) {
    const std::string_view before = text.substr(0, at);
    const std::size_t last = before.find_last_not_of(" \t");
    const std::size_t indentation = last == std::string_view::npos ? at : at - last - 1;
    if (indentation > 0 && (last == std::string_view::npos || before[last] == '\n')) {
      return true;
    }
  }
  return false;
}

// Two dashes of the five will do, as a text may begin or be broken in the middle of them.
void requireNoStrayMarks(std::string_view text, const std::string& name, std::size_t blocks) {
  const std::size_t begins = countOf("--BEGIN ", text);
  const std::size_t ends = countOf("--END ", text);
  if (begins == blocks && ends == blocks) {
    return;
  }
  if (hasIndentedBegin(text)) {
    refuse(name,
           "is damaged or cut short: -----BEGIN does not stand at the start of its line; remove "
           "what is before it on each line, spaces too");
  }
  if (blocks == 0 && ends == 0) {
    return;  // words about PEM
  }
  refuse(name, fmt::format("is damaged or cut short: whole PEM blocks: {}, but BEGIN: {}, and END: "
                           "{}; get the whole file again",
                           blocks, begins, ends));
}

[[noreturn]] void refuseContent(const std::string& name, std::size_t number, const char* kind) {
  refuse(name, fmt::format("is damaged: PEM block {} is not a {} though it says so; get the file "
                           "again",
                           number, kind));
}

}  // namespace

std::vector<PemBlock> readPemBlocks(std::string_view text, const std::string& name) {
  const OpenSslOwner<BIO, BIO_free_all> source(
      BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  std::vector<PemBlock> blocks;
  for (;;) {
    PemBlock block = readPemBlock(source.get(), name, blocks.size());
    if (block.label.empty()) {
      break;
    }
    blocks.push_back(std::move(block));
  }
  requireNoStrayMarks(text, name, blocks.size());
  return blocks;
}

bool isCertificate(const PemBlock& block) {
  return block.label == PEM_STRING_X509 || block.label == PEM_STRING_X509_OLD ||
         block.label == PEM_STRING_X509_TRUSTED;
}

std::vector<unsigned char> takeCertificate(PemBlock block, const std::string& name,
                                           std::size_t number) {
  const std::size_t length = certificateLength(block.content.data(), block.content.size());
  if (block.label == PEM_STRING_X509_TRUSTED) {
    block.content.resize(length);
  }
  if (length == 0 || length != block.content.size()) {
    refuseContent(name, number, "certificate");
  }
  return std::move(block.content);
}

bool holdsRevocationList(const PemBlock& block, const std::string& name, std::size_t number) {
  if (block.label != PEM_STRING_X509_CRL) {
    return false;
  }
  const unsigned char* end = block.content.data();
  const OpenSslOwner<X509_CRL, X509_CRL_free> list(
      d2i_X509_CRL(nullptr, &end, static_cast<long>(block.content.size())));
  ERR_clear_error();
  if (list == nullptr || end != block.content.data() + block.content.size()) {
    refuseContent(name, number, "revocation list");
  }
  return true;
}

std::size_t certificateLength(const unsigned char* bytes, std::size_t length) {
  const unsigned char* end = bytes;
  const OpenSslOwner<X509, X509_free> certificate(
      d2i_X509(nullptr, &end, static_cast<long>(length)));
  ERR_clear_error();
  return certificate == nullptr ? 0 : static_cast<std::size_t>(end - bytes);
}
