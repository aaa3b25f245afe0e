#include "services/dialog/TerminalFace.h"

#include <cstdio>

#include "services/common/UserIdentity.h"
#include "services/dialog/FaceEnvironment.h"
#include "services/dialog/FaceProcess.h"
#include "services/dialog/Terminal.h"
#include "services/dialog/model/DialogModelCodec.h"

bool TerminalFace::canReach(const Audience& audience) const {
  return Terminal::find(audience.process, audience.user).has_value();
}

std::optional<DialogChoice> TerminalFace::show(const DialogModel& model, const Audience& audience,
                                               const std::stop_token& stop) const {
  const std::optional<Terminal> terminal = Terminal::find(audience.process, audience.user);
  if (!terminal) return std::nullopt;
  FaceEnvironment environment = environmentFor(audience);
  FaceCommand command;
  command.arguments = {program_, "--tty", terminal->path()};
  if (!environment.colour) command.arguments.emplace_back("--no-colour");
  command.environment = std::move(environment.variables);
  command.input = encodeDialogModel(model);
  if (!isOwnUser(audience.user)) command.user = audience.user;
  if (model.timeoutSeconds > 0) command.limit = std::chrono::seconds(model.timeoutSeconds);
  command.isWanted = [&terminal] { return terminal->isInFront(); };

  const FaceResult result = runFace(command, stop);
  terminal->restore(result.killed);
  if (!result.complaint.empty()) {
    (void)fprintf(stderr, "trust-dialogd: the face of user %s: %s\n", audience.user.name.c_str(),
                  result.complaint.c_str());
  }
  if (result.cancelled) return std::nullopt;
  return result.choice;
}
