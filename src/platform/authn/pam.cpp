#include "platform/authn/pam.h"

#include <security/pam_appl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace kelvarion::platform {
namespace {

constexpr const char* kService = "kelvarion";

// Answers the question for the password and no other; what PAM wants to tell a person is dropped.
int Converse(int count, const pam_message** messages, pam_response** responses, void* data) {
  auto* const answers = static_cast<pam_response*>(
      std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
  if (!answers) return PAM_BUF_ERR;
  int result = PAM_SUCCESS;
  for (int i = 0; i < count && result == PAM_SUCCESS; ++i) {
    if (messages[i]->msg_style == PAM_PROMPT_ECHO_OFF)
      answers[i].resp = strdup(static_cast<const std::string*>(data)->c_str());
    else if (messages[i]->msg_style == PAM_PROMPT_ECHO_ON)
      result = PAM_CONV_ERR;
  }
  if (result == PAM_SUCCESS) {
    *responses = answers;
    return result;
  }
  for (int i = 0; i < count; ++i) std::free(answers[i].resp);
  std::free(answers);
  return result;
}

// Who fails is made to wait, but not while PAM holds on to the process.
void DoNotWait(int, unsigned, void*) {}

// Whether the outcome says something about PAM and nothing about the account.
bool IsTrouble(int result) {
  switch (result) {
    case PAM_OPEN_ERR:
    case PAM_SYMBOL_ERR:
    case PAM_SERVICE_ERR:
    case PAM_SYSTEM_ERR:
    case PAM_BUF_ERR:
    case PAM_ABORT:
    case PAM_MODULE_UNKNOWN:
    case PAM_AUTHINFO_UNAVAIL:
      return true;
    default:
      return false;
  }
}

// One conversation with PAM, ended with the object.
class Transaction {
 public:
  Transaction(const PamService& service, const std::string& name, const std::string& password)
      : conversation_{Converse, const_cast<std::string*>(&password)} {
    result_ = service.folder.empty()
                  ? pam_start(service.name.c_str(), name.c_str(), &conversation_, &handle_)
                  : pam_start_confdir(service.name.c_str(), name.c_str(), &conversation_,
                                      service.folder.c_str(), &handle_);
  }
  ~Transaction() {
    if (handle_) pam_end(handle_, result_);
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  bool Check(const std::string& client) {
    const auto fail_delay = reinterpret_cast<const void*>(&DoNotWait);
    return Did(result_) && Did(pam_set_item(handle_, PAM_FAIL_DELAY, fail_delay)) &&
           Did(pam_set_item(handle_, PAM_RHOST, client.c_str())) &&
           // Commonly an account without a password needs none; not from afar.
           Did(pam_authenticate(handle_, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK)) &&
           Did(pam_acct_mgmt(handle_, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK));
  }

  PamAnswer Answer(const PamService& service) const {
    const void* name = nullptr;
    if (result_ == PAM_SUCCESS && pam_get_item(handle_, PAM_USER, &name) == PAM_SUCCESS && name)
      return {PamAnswer::kAccepted, static_cast<const char*>(name)};
    const std::string reason = pam_strerror(handle_, result_);
    if (!IsTrouble(result_)) return {PamAnswer::kRefused, reason};
    const std::string folder = service.folder.empty() ? "/etc/pam.d" : service.folder;
    return {PamAnswer::kFailed, "PAM (" + folder + "/" + service.name + "): " + reason};
  }

 private:
  bool Did(int result) {
    result_ = result;
    return result == PAM_SUCCESS;
  }

  pam_conv conversation_;
  pam_handle_t* handle_ = nullptr;
  int result_;
};

}  // namespace

PamService FindPamService(const std::string& own_folder) {
  const auto holds = [](const std::string& folder) {
    return access((folder + "/" + kService).c_str(), F_OK) == 0;
  };
  if (holds(own_folder)) return {kService, own_folder};
  if (holds("/etc/pam.d")) return {kService, ""};
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return {kService, program.parent_path().parent_path() / "share/kelvarion/server/pam"};
}

PamAnswer AskPam(const PamService& service, const std::string& name, const std::string& password,
                 const std::string& client) {
  Transaction transaction(service, name, password);
  transaction.Check(client);
  return transaction.Answer(service);
}

}  // namespace kelvarion::platform
