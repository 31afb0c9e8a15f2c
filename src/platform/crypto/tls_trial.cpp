#include "platform/crypto/tls_trial.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include "platform/crypto/openssl_handles.h"

namespace kelvarion::platform {
namespace {

using TlsContext = std::unique_ptr<SSL_CTX, OpenSslDeleter<SSL_CTX_free>>;
using Connection = std::unique_ptr<SSL, OpenSslDeleter<SSL_free>>;

TlsContext ServerWith(const PrivateKey& key, const Certificate& certificate,
                      const std::vector<Certificate>& intermediates) {
  TlsContext server(SSL_CTX_new(TLS_server_method()));
  if (!server || SSL_CTX_use_certificate(server.get(), certificate.get()) != 1 ||
      SSL_CTX_use_PrivateKey(server.get(), key.get()) != 1)
    return nullptr;
  for (const Certificate& intermediate : intermediates)
    if (SSL_CTX_add1_chain_cert(server.get(), intermediate.get()) != 1) return nullptr;
  return server;
}

// Each in its turn, as long as one waits for the other.
bool ShakeHands(SSL* client, SSL* server) {
  constexpr int kMoreThanEnough = 100;
  for (int turn = 0; turn < kMoreThanEnough; ++turn) {
    const int asked = SSL_do_handshake(client);
    if (asked != 1 && SSL_get_error(client, asked) != SSL_ERROR_WANT_READ) return false;
    const int answered = SSL_do_handshake(server);
    if (answered != 1 && SSL_get_error(server, answered) != SSL_ERROR_WANT_READ) return false;
    if (asked == 1 && answered == 1) return true;
  }
  return false;
}

}  // namespace

SslError TryHandshake(const PrivateKey& key, const Certificate& certificate,
                      const std::vector<Certificate>& intermediates) {
  ERR_clear_error();
  const TlsContext server_context = ServerWith(key, certificate, intermediates);
  const TlsContext client_context(SSL_CTX_new(TLS_client_method()));
  if (!server_context || !client_context ||
      SSL_CTX_set_max_proto_version(server_context.get(), TLS1_2_VERSION) != 1)
    return TakeSslError();
  const Connection server(SSL_new(server_context.get()));
  const Connection client(SSL_new(client_context.get()));
  BIO* server_end = nullptr;
  BIO* client_end = nullptr;
  if (!server || !client || BIO_new_bio_pair(&server_end, 0, &client_end, 0) != 1)
    return TakeSslError();
  SSL_set_bio(server.get(), server_end, server_end);
  SSL_set_bio(client.get(), client_end, client_end);
  SSL_set_accept_state(server.get());
  SSL_set_connect_state(client.get());
  if (!ShakeHands(client.get(), server.get())) return TakeSslError();
  ERR_clear_error();
  return {};
}

}  // namespace kelvarion::platform
