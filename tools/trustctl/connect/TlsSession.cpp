#include "tools/trustctl/connect/TlsSession.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

#include <fmt/format.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include "services/common/CertificateFiles.h"
#include "services/common/OpenSslOwners.h"
#include "tools/trustctl/CertificateInput.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/connect/TlsFailure.h"

namespace {

using SslContextPtr = OpenSslOwner<SSL_CTX, SSL_CTX_free>;
using SslPtr = OpenSslOwner<SSL, SSL_free>;

constexpr std::size_t mostFirstBytes = 512;
// What identifies nobody (no certificate) or hides nothing is not worth a look.
constexpr const char* allCiphers = "ALL:!aNULL:!eNULL:@SECLEVEL=0";

void require(bool worked, const char* what) {
  if (!worked) {
    ERR_clear_error();
    throw std::runtime_error(fmt::format("OpenSSL cannot {}", what));
  }
}

// The verdict is the library's; here every chain will do.
int acceptAnyChain(X509_STORE_CTX* /*context*/, void* /*unused*/) {
  return 1;
}

// The many ways to say that a certificate of the client is needed.
bool isForWantOfCertificate(const std::optional<int>& alert) {
  constexpr int certificateRequired = 116;
  return alert == SSL_AD_HANDSHAKE_FAILURE || alert == SSL_AD_NO_CERTIFICATE ||
         alert == SSL_AD_BAD_CERTIFICATE || alert == SSL_AD_CERTIFICATE_UNKNOWN ||
         alert == SSL_AD_ACCESS_DENIED || alert == certificateRequired;
}

// TLS in memory; the bytes go over the socket, where every wait has its deadline and no write
// can bring a SIGPIPE.
class TlsSession {
 public:
  TlsSession(const TlsRequest& request, Socket* socket);

  TlsAnswer run();

 private:
  static void onInfo(const SSL* ssl, int where, int value);
  static int onCertificateRequest(SSL* ssl, X509** certificate, EVP_PKEY** key);

  void makeContext();
  void makeRequest();
  void handshake();
  [[noreturn]] void fail();
  bool receiveSome();
  void sendPending();
  TlsAnswer answer() const;

  const TlsRequest& request_;
  Socket* socket_;
  SslContextPtr context_;
  SslPtr ssl_;
  BIO* in_ = nullptr;   // the session's
  BIO* out_ = nullptr;  // likewise
  TlsFailure failure_;
  bool asksForCertificate_ = false;
  bool needsCertificate_ = false;
};

TlsSession::TlsSession(const TlsRequest& request, Socket* socket)
    : request_(request), socket_(socket) {
  makeContext();
  makeRequest();
}

void TlsSession::makeContext() {
  context_.reset(SSL_CTX_new(TLS_client_method()));
  SSL_CTX* context = context_.get();
  require(context != nullptr, "begin with TLS");
  SSL_CTX_set_security_level(context, 0);
  // The machine's own settings may have narrowed both.
  SSL_CTX_clear_options(
      context, SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1 | SSL_OP_NO_TLSv1_2 | SSL_OP_NO_TLSv1_3);
  require(SSL_CTX_set_min_proto_version(context, TLS1_VERSION) == 1 &&
              SSL_CTX_set_max_proto_version(context, 0) == 1 &&
              SSL_CTX_set_cipher_list(context, allCiphers) == 1,
          "allow old versions of TLS");
  SSL_CTX_set_options(context, SSL_OP_LEGACY_SERVER_CONNECT);
  SSL_CTX_set_max_cert_list(context, mostChainBytes);
  SSL_CTX_set_verify(context, SSL_VERIFY_NONE, nullptr);
  SSL_CTX_set_cert_verify_callback(context, acceptAnyChain, nullptr);
  SSL_CTX_set_client_cert_cb(context, onCertificateRequest);
  SSL_CTX_set_info_callback(context, onInfo);
}

void TlsSession::makeRequest() {
  ssl_.reset(SSL_new(context_.get()));
  SSL* ssl = ssl_.get();
  require(ssl != nullptr, "begin a session");
  SSL_set_app_data(ssl, this);
  in_ = BIO_new(BIO_s_mem());
  out_ = BIO_new(BIO_s_mem());
  require(in_ != nullptr && out_ != nullptr, "make a buffer");
  SSL_set_bio(ssl, in_, out_);  // takes both over
  if (!request_.serverName.empty()) {
    require(SSL_set_tlsext_host_name(ssl, request_.serverName.c_str()) == 1,
            "name the server to itself");
  }
  std::string protocols;
  for (const std::string& protocol : request_.alpn) {
    protocols += static_cast<char>(protocol.size());
    protocols += protocol;
  }
  // Of all functions there this one returns 0 where it worked.
  require(protocols.empty() ||
              SSL_set_alpn_protos(ssl, reinterpret_cast<const unsigned char*>(protocols.data()),
                                  static_cast<unsigned>(protocols.size())) == 0,
          "propose the protocols of --alpn");
  require(SSL_set_tlsext_status_type(ssl, TLSEXT_STATUSTYPE_ocsp) == 1, "ask for an OCSP answer");
}

void TlsSession::onInfo(const SSL* ssl, int where, int value) {
  if ((where & SSL_CB_READ) != 0 && (where & SSL_CB_ALERT) != 0) {
    auto* self = static_cast<TlsSession*>(SSL_get_app_data(ssl));
    self->failure_.alert = static_cast<int>(static_cast<unsigned>(value) & 0xffU);
  }
}

// The handshake goes on without one.
int TlsSession::onCertificateRequest(SSL* ssl, X509** /*certificate*/, EVP_PKEY** /*key*/) {
  static_cast<TlsSession*>(SSL_get_app_data(ssl))->asksForCertificate_ = true;
  return 0;
}

TlsAnswer TlsSession::run() {
  socket_->enter("during the TLS handshake");
  handshake();
  TlsAnswer result = answer();
  if (!needsCertificate_) {
    SSL_shutdown(ssl_.get());
    sendPending();
  }
  ERR_clear_error();
  return result;
}

void TlsSession::handshake() {
  for (;;) {
    ERR_clear_error();
    const int result = SSL_connect(ssl_.get());
    const int error = SSL_get_error(ssl_.get(), result);
    const char* reason = ERR_reason_error_string(ERR_peek_error());
    failure_.tooLarge = ERR_GET_REASON(ERR_peek_error()) == SSL_R_EXCESSIVE_MESSAGE_SIZE;
    failure_.reason = reason == nullptr ? "for no reason that OpenSSL tells" : reason;
    sendPending();
    if (result == 1) {
      return;
    }
    failure_.closed = error == SSL_ERROR_WANT_READ && !receiveSome();
    if (failure_.closed || error != SSL_ERROR_WANT_READ) {
      // Its chain came long before, and can be judged.
      needsCertificate_ =
          asksForCertificate_ && (failure_.closed || isForWantOfCertificate(failure_.alert));
      if (needsCertificate_) {
        return;
      }
      fail();
    }
  }
}

void TlsSession::fail() {
  ERR_clear_error();
  throw CommandError(ExitStatus::undecided,
                     describeTlsFailure(failure_, request_, socket_->server()));
}

// False when the server closed the connection.
bool TlsSession::receiveSome() {
  char piece[16384];
  const std::size_t count = socket_->receive(piece, sizeof piece);
  std::string& first = failure_.firstBytes;
  first.append(piece, std::min(count, mostFirstBytes - first.size()));
  require(count == 0 || BIO_write(in_, piece, static_cast<int>(count)) == static_cast<int>(count),
          "buffer what came");
  return count > 0;
}

void TlsSession::sendPending() {
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(out_, &bytes);
  if (length > 0) {
    socket_->send(bytes, static_cast<std::size_t>(length));
    (void)BIO_reset(out_);
  }
}

TlsAnswer TlsSession::answer() const {
  SSL* ssl = ssl_.get();
  TlsAnswer result;
  const STACK_OF(X509)* sent = SSL_get_peer_cert_chain(ssl);
  const int count = sent == nullptr ? 0 : sk_X509_num(sent);
  if (count == 0 || count > static_cast<int>(maxCertificates)) {
    throw CommandError(ExitStatus::undecided,
                       fmt::format("{} sent {} certificates; a chain has 1 to {}",
                                   socket_->server(), count, maxCertificates));
  }
  for (int i = 0; i < count; ++i) {
    const std::string der = derOf(sk_X509_value(sent, i));
    result.chain.emplace_back(der.begin(), der.end());
  }
  unsigned char* stapled = nullptr;
  const long length = SSL_get_tlsext_status_ocsp_resp(ssl, &stapled);
  if (stapled != nullptr && length > 0) {
    result.stapled.assign(stapled, stapled + length);
  }
  const char* cipher = SSL_get_cipher_name(ssl);
  result.protocol = SSL_get_version(ssl);
  result.cipher = cipher == nullptr ? "" : cipher;
  const unsigned char* alpn = nullptr;
  unsigned alpnLength = 0;
  SSL_get0_alpn_selected(ssl, &alpn, &alpnLength);
  if (alpn != nullptr) {
    result.alpn.assign(alpn, alpn + alpnLength);
  }
  result.asksForCertificate = asksForCertificate_;
  result.needsCertificate = needsCertificate_;
  return result;
}

}  // namespace

TlsAnswer askTlsServer(const TlsRequest& request, Socket* socket) {
  return TlsSession(request, socket).run();
}
