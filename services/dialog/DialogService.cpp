#include "services/dialog/DialogService.h"

#include <cstdio>
#include <stdexcept>
#include <utility>
#include <vector>

#include "services/common/CertificateFiles.h"
#include "services/common/DecisionStore.h"
#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "services/common/UserIdentity.h"
#include "services/dialog/DialogAnswer.h"
#include "services/dialog/DialogRequest.h"
#include "services/dialog/ProcessTable.h"
#include "services/dialog/model/DialogModelBuilder.h"
#include "services/dialog/model/DialogModelCodec.h"
#include "services/dialog/model/EarlierExceptions.h"

namespace {

Audience audienceOf(const ControlRequest& request) {
  if (request.pid <= 0 || request.uid == static_cast<uid_t>(-1)) {
    throw std::runtime_error("the system does not tell who asks");
  }
  return {request.pid, lookUpUser(request.uid, request.gid), request.gid};
}

std::vector<CertificateDer> readChain(const std::vector<std::string>& paths,
                                      const UserAccount& user) {
  const UserIdentity identity(user);
  std::vector<CertificateDer> chain;
  chain.reserve(paths.size());
  for (const std::string& path : paths) chain.push_back(readCertificateBytes(path));
  return chain;
}

std::string nameOf(const Asker& asker) {
  return printableText(asker.program.empty() ? "a program" : asker.program) + " (process " +
         std::to_string(asker.process) + ", user " + printableText(asker.user) + ")";
}

Asker askerOf(const Audience& audience) {
  return {programOf(audience.process, audience.user.uid), audience.process, audience.user.name};
}

}  // namespace

DialogService::DialogService(DialogSettings settings, std::unique_ptr<const Face> face)
    : settings_(std::move(settings)),
      face_(std::move(face)),
      queue_([this](uid_t user, std::size_t waiting) {
        say("requests of user " + std::to_string(user) + " that wait: " + std::to_string(waiting));
      }) {}

std::string DialogService::answer(const ControlRequest& request) {
  const DialogRequest asked = DialogRequest::parse(request.text);
  const Audience audience = audienceOf(request);
  const DialogQuestion question = {audience.user.uid, asked.domain, asked.warnings,
                                   readChain(asked.paths, audience.user)};
  DialogQueue::Show show;
  if (face_->canReach(audience)) {
    show = [&](const std::stop_token& stop) {
      return face_->show(describe(question, audience), audience, stop);
    };
  }
  const DialogChoice choice = queue_.ask(question, show, request.cancelled);
  if (settings_.verbose) {
    say(nameOf(askerOf(audience)) + " is answered: " + dialogChoiceWord(choice));
  }
  return encodeDialogAnswer(asked.id, choice);
}

DialogModel DialogService::describe(const DialogQuestion& question,
                                    const Audience& audience) const {
  DialogInput input;
  input.asker = askerOf(audience);
  input.domain = question.domain;
  input.warnings = question.warnings;
  input.chain = question.chain;
  input.now = currentTime();
  {
    const UserIdentity identity(audience.user);
    input.earlier =
        readEarlierExceptions(storeOf(audience.user), question.domain, audience.user.uid);
  }
  DialogModel model = buildDialogModel(input);
  model.timeoutSeconds = settings_.timeoutSeconds;
  return model;
}

std::string DialogService::storeOf(const UserAccount& user) const {
  if (settings_.store) return *settings_.store;
  return isOwnUser(user) ? ownDecisionStore() : decisionStoreIn(user.home);
}

void DialogService::say(const std::string& text) const {
  if (settings_.verbose) (void)fprintf(stderr, "trust-dialogd: %s\n", text.c_str());
}
