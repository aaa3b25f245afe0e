#ifndef TOOLS_TRUSTCTL_PEMBLOCKS_H
#define TOOLS_TRUSTCTL_PEMBLOCKS_H

#include <string>
#include <string_view>
#include <vector>

// One block of a PEM text, decoded.
struct PemBlock {
  std::string label;  // what stands behind BEGIN
  std::vector<unsigned char> content;
};

// All blocks of a text, in their order; other text around them is passed over. An empty vector
// where there is no sign of a block at all.
// `name` stands for the text in messages. Throws CommandError (wrongUse) when a block is damaged
// or cut short, and when there is a BEGIN or an END that belongs to no block: a text that lost
// something would otherwise pass for a shorter one that is whole.
std::vector<PemBlock> readPemBlocks(std::string_view text, const std::string& name);

// True for the labels of certificates: plain, old and OpenSSL's trusted form.
bool isCertificate(const PemBlock& block);

// Cuts off what OpenSSL's trusted form has behind the certificate. The block must be a
// certificate. Throws CommandError (wrongUse) when it holds something else than its label says.
// `number` counts from 1.
std::vector<unsigned char> takeCertificate(PemBlock block, const std::string& name,
                                           std::size_t number);

// Throws CommandError (wrongUse) when a block that its label calls a revocation list is none.
// False when the label says otherwise.
bool holdsRevocationList(const PemBlock& block, const std::string& name, std::size_t number);

// How many bytes of the front are one whole certificate; 0 for none.
std::size_t certificateLength(const unsigned char* bytes, std::size_t length);

#endif
