#include "certificate/install.h"

#include "certificate/failure.h"
#include "platform/crypto/tls_trial.h"
#include "platform/text/encoding.h"
#include "util/base64.h"

namespace kelvarion::certificate {
namespace {

std::string ChainText(const std::vector<platform::Certificate>& intermediates) {
  std::u16string text;
  for (const platform::Certificate& intermediate : intermediates) {
    std::string der;
    Require(platform::WriteDer(intermediate, der), u"Cannot write the certificate");
    text += util::EncodeBase64(der, platform::Base64Format::kCertificate);
  }
  return {text.begin(), text.end()};
}

}  // namespace

std::vector<platform::Certificate> ChainReport::Intermediates() const {
  if (state != ChainState::kComplete || elements.size() <= 2) return {};
  return {elements.begin() + 1, elements.end() - 1};
}

ChainReport ExamineChain(const platform::Certificate& certificate,
                         const std::vector<platform::Certificate>& candidates) {
  platform::CertificateChain chain;
  if (const Win32Error error = platform::BuildServerChain(certificate, candidates, chain))
    throw Win32Exception(error, u"Cannot get certificate chain");
  ChainReport report;
  if (chain.good)
    report.state = chain.elements.size() == 1 ? ChainState::kSelfSigned : ChainState::kComplete;
  else
    report.state = chain.partial ? ChainState::kIncomplete : ChainState::kUnsuitable;
  report.root_trusted = chain.root_trusted;
  report.valid_now = chain.valid_now;
  report.problem = std::move(chain.problem);
  report.elements = std::move(chain.elements);
  return report;
}

ChainReport Install(const CertificatePaths& paths, const platform::Certificate& certificate,
                    const platform::PrivateKey& key,
                    const std::vector<platform::Certificate>& candidates) {
  std::string certificate_text;
  std::string key_text;
  Require(platform::WritePem(certificate, certificate_text), u"Cannot write the certificate");
  Require(platform::WritePem(key, key_text), u"Cannot write the private key");
  ChainReport report = ExamineChain(
      util::CreateCertificateContext(platform::Utf16ForDisplay(certificate_text)), candidates);
  const std::vector<platform::Certificate> intermediates = report.Intermediates();
  Require(platform::TryHandshake(key, certificate, intermediates),
          u"The web server cannot use this certificate");
  ReplaceFiles(paths, key_text + certificate_text, ChainText(intermediates));
  return report;
}

}  // namespace kelvarion::certificate
