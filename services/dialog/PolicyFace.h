#ifndef SERVICES_DIALOG_POLICYFACE_H
#define SERVICES_DIALOG_POLICYFACE_H

#include "services/dialog/Face.h"

// Asks nobody and always chooses the same.
class PolicyFace : public Face {
 public:
  explicit PolicyFace(DialogChoice choice) : choice_(choice) {}

  bool canReach(const Audience& /*audience*/) const override { return true; }
  std::optional<DialogChoice> show(const DialogModel& /*model*/, const Audience& /*audience*/,
                                   const std::stop_token& /*stop*/) const override {
    return choice_;
  }

 private:
  const DialogChoice choice_;
};

#endif
