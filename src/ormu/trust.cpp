#include "ormu/trust.h"

#include <svn_error.h>
#include <svn_error_codes.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/network/tls_certificate.h"
#include "platform/ormu/ormu.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/text.h"
#include "util/atomic_file.h"

namespace kelvarion::ormu {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kExtension = ".json";

struct HostAndPort {
  std::string host;  // In lower case, without brackets.
  std::string port;  // May be empty.
};

[[noreturn]] void RefuseServer(std::string_view server) {
  svn::ThrowError(SVN_ERR_BAD_URL, Format(u"'%s' is not the name of a server (host[:port])",
                                          platform::Utf16ForDisplay(server)));
}

bool IsHost(std::string_view host, bool in_brackets) {
  const std::string_view others = in_brackets ? ":." : "-._";
  return !host.empty() && host.size() <= 253 && host.front() != '.' && host.front() != '-' &&
         std::ranges::all_of(host, [&](unsigned char c) {
           return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                  others.find(static_cast<char>(c)) != std::string_view::npos;
         });
}

bool IsPort(std::string_view port) {
  int number = 0;
  const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
  return error == std::errc() && end == port.data() + port.size() && number >= 1 &&
         number <= 65535 && port.front() != '0';
}

HostAndPort Parse(std::string_view server) {
  std::string text(server);
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
  const bool in_brackets = text.starts_with('[');
  const std::size_t end = in_brackets ? text.find(']') : text.find(':');
  if (in_brackets && end == std::string::npos) RefuseServer(server);
  HostAndPort result;
  result.host = text.substr(in_brackets, end - in_brackets);
  std::string rest = end == std::string::npos ? "" : text.substr(end + in_brackets);
  if (!IsHost(result.host, in_brackets)) RefuseServer(server);
  if (rest.empty()) return result;
  result.port = rest.substr(1);
  if (rest[0] != ':' || !IsPort(result.port)) RefuseServer(server);
  return result;
}

std::string Folder(const std::string& home) { return home + "/replication/masters"; }

// Canonical names have nothing that a file's name cannot have.
std::string FileOf(const std::string& home, std::string_view server) {
  return Folder(home) + "/" + CanonicalServer(server) + kExtension;
}

void MakePrivateFolder(const std::string& path) {
  std::error_code error;
  fs::create_directory(path, error);
  if (!error) fs::permissions(path, fs::perms::owner_all, error);
  if (error) svn::ThrowAprError(error.value(), Format(u"Can't make folder '%s'", svn::Utf16(path)));
}

MasterAccess FromJson(const Json& json) {
  return {json.at("url").get<std::string>(), json.value("account", ""), json.value("password", ""),
          json.value("certificate_sha256", "")};
}

}  // namespace

std::string CanonicalServer(std::string_view server) {
  const HostAndPort parts = Parse(server);
  const bool in_brackets = parts.host.find(':') != std::string::npos;
  return (in_brackets ? "[" + parts.host + "]" : parts.host) +
         (parts.port.empty() ? "" : ":" + parts.port);
}

std::string ReplicationUrl(std::string_view scheme, std::string_view server) {
  if (scheme != "https" && scheme != "http" && scheme != "svn")
    svn::ThrowError(SVN_ERR_BAD_URL, Format(u"Masters are not reached over '%s'; https, http and "
                                            u"svn can be named",
                                            platform::Utf16ForDisplay(scheme)));
  return std::string(scheme) + "://" + CanonicalServer(server) +
         (scheme == "svn" ? "" : "/.kelvarion/replication");
}

void TrustMaster(const std::string& home, std::string_view server, const MasterAccess& access) {
  const std::string file = FileOf(home, server);
  MakePrivateFolder(home + "/replication");
  MakePrivateFolder(Folder(home));
  const Json json{{"url", access.url},
                  {"account", access.account},
                  {"password", access.password},
                  {"certificate_sha256", access.certificate_sha256}};
  util::WriteFileAtomically(svn::Utf16(file), json.dump(2) + "\n", util::NewFile::kPrivate);
}

bool ForgetMaster(const std::string& home, std::string_view server) {
  const std::string file = FileOf(home, server);
  std::error_code error;
  const bool removed = fs::remove(file, error);
  if (error) svn::ThrowAprError(error.value(), Format(u"Can't remove '%s'", svn::Utf16(file)));
  return removed;
}

std::vector<std::string> ListTrustedMasters(const std::string& home) {
  std::vector<std::string> names;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(Folder(home), error))
    if (entry.path().extension() == kExtension) names.push_back(entry.path().stem());
  if (error && error != std::errc::no_such_file_or_directory)
    svn::ThrowAprError(error.value(), Format(u"Can't read folder '%s'", svn::Utf16(Folder(home))));
  std::ranges::sort(names);
  return names;
}

std::optional<MasterAccess> FindMaster(const std::string& home, std::string_view server) {
  const std::string file = FileOf(home, server);
  if (std::error_code ignored; !fs::exists(file, ignored) && !ignored) return std::nullopt;
  try {
    return FromJson(Json::parse(util::ReadWholeFile(svn::Utf16(file))));
  } catch (const Json::exception&) {
    svn::ThrowError(SVN_ERR_MALFORMED_FILE,
                    Format(u"'%s' does not say how the master's server is reached; say it anew "
                           u"with: kelvarionctl replication trust %s",
                           svn::Utf16(file), svn::Utf16(CanonicalServer(server))));
  }
}

MasterAccess RequireMaster(const std::string& home, std::string_view server) {
  if (auto access = FindMaster(home, server)) return *std::move(access);
  const std::u16string name = svn::Utf16(CanonicalServer(server));
  svn::ThrowError(ORMU_ERR_UNTRUSTED_MASTER,
                  Format(u"This server has not been told how to reach the server '%s' of a master; "
                         u"tell it with: kelvarionctl replication trust %s",
                         name, name));
}

ServerCertificate FetchCertificate(std::string_view server) {
  const HostAndPort parts = Parse(server);
  platform::PeerCertificate shown;
  std::string reason;
  const Win32Error error = platform::FetchPeerCertificate(
      parts.host, parts.port.empty() ? "443" : parts.port, shown, reason);
  if (error != ERROR_SUCCESS) {
    const std::string message =
        "Cannot fetch the certificate of the server '" + CanonicalServer(server) + "'";
    throw SvnException(svn_error_create(
        ORMU_ERR_MASTER_FAILED,
        svn_error_create(ORMU_ERR_SYSTEM + static_cast<int>(error), nullptr, reason.c_str()),
        message.c_str()));
  }
  return {shown.sha256, shown.subject, shown.issuer, shown.valid_until, shown.vouched_for};
}

}  // namespace kelvarion::ormu
