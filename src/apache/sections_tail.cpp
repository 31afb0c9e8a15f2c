#include "apache/sections.h"

namespace kelvarion::apache {
namespace {

constexpr const char* kCiphers =
    "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-ECDSA-AES256-GCM-SHA384:"
    "ECDHE-RSA-AES128-GCM-SHA256:ECDHE-RSA-AES256-GCM-SHA384:"
    "ECDHE-ECDSA-AES128-SHA256:ECDHE-ECDSA-AES256-SHA384:"
    "ECDHE-RSA-AES128-SHA256:ECDHE-RSA-AES256-SHA384:"
    "AES128-GCM-SHA256:AES128-SHA256:AES256-GCM-SHA384:AES256-SHA256:"
    "ECDHE-ECDSA-AES128-SHA:ECDHE-ECDSA-AES256-SHA:ECDHE-RSA-AES128-SHA:ECDHE-RSA-AES256-SHA:"
    "AES128-SHA:AES256-SHA:"
    "ECDHE-ECDSA-DES-CBC3-SHA:ECDHE-RSA-DES-CBC3-SHA:DES-CBC3-SHA:"
    "!aNULL:!eNULL:!LOW:!EXP:!RC4";

}  // namespace

void WriteFiles(ConfigText& out) {
  out.Block(R"(<IfModule dir_module>
    DirectoryIndex index.html
</IfModule>

ErrorLog nul

LogLevel error

TraceEnable off

DefaultType text/plain

<IfModule mime_module>
    TypesConfig conf/mime.types
    AddType application/x-compress .Z
    AddType application/x-gzip .gz .tgz
    AddType application/x-x509-ca-cert .crt
    AddType application/x-pkcs7-crl    .crl
    AddType "text/css; charset: UTF-8" .css
</IfModule>

)");
}

// Without TLS its module is not loaded and the block does nothing.
void WriteTls(ConfigText& out, const ServerValues& values) {
  out.Block(R"(<IfModule ssl_module>
SSLEngine on

SSLRandomSeed startup   builtin
SSLRandomSeed connect   builtin
SSLPassPhraseDialog     builtin
)");
  out.Line("SSLSessionCache         ", Quoted("shm:" + values.InRoot("ssl_scache")));
  out.Block(R"(SSLSessionCacheTimeout  7200
SSLMutex                default
SSLCertificateFile      certs/server.pem
SSLCertificateKeyFile   certs/server.pem
SSLCertificateChainFile certs/certchain.pem
SSLProtocol             -ALL +TLSv1 +TLSv1.1 +TLSv1.2
SSLHonorCipherOrder     on
)");
  out.Line("SSLCipherSuite          ", kCiphers);
  out.Block("\n\n</IfModule>\n\n");
}

void WriteCustomInclude(ConfigText& out) {
  out.Line("Include conf/httpd-custom.conf");
  out.Line();
}

}  // namespace kelvarion::apache
