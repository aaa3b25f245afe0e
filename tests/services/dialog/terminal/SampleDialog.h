#ifndef TESTS_SERVICES_DIALOG_TERMINAL_SAMPLEDIALOG_H
#define TESTS_SERVICES_DIALOG_TERMINAL_SAMPLEDIALOG_H

#include <string>

#include "services/dialog/model/DialogModel.h"

// A dialog as a service would make it, with accepting keys that work at once. The texts from
// outside are hostile, and each says so.
inline DialogModel makeSampleDialog() {
  DialogModel model;
  model.title = "The certificate of this server is not trusted";
  const std::string wide = "悪意";
  std::string padded = "EVIL";
  for (int i = 0; i < 60; ++i) padded += wide;
  model.sections = {
      {"asker",
       "Who asks",
       DialogTone::plain,
       {{"program", "/usr/bin/EVIL\\x1b[2J\\x1b[H Enter Do not connect", DialogTone::plain, true},
        {"process", "4711", DialogTone::plain, false}}},
      {"warning",
       "The chain does not lead to an authority that this machine trusts.",
       DialogTone::danger,
       {{"",
         "Anybody can make such a chain for any name within seconds. Somebody between you and the "
         "server may have put it there.",
         DialogTone::danger, false},
        {"what to do", "If the authority is your own, give its root with --cafile.",
         DialogTone::plain, false}}},
      {"certificate",
       "Certificate 1 of 1",
       DialogTone::doubt,
       {{"subject", padded, DialogTone::plain, true},
        {"issued by", std::string(400, '-') + "EVIL\\u{202e}", DialogTone::doubt, true},
        {"valid", "2020-01-01 to 2099-12-31", DialogTone::good, false}}}};
  model.options = {{DialogChoice::decline, "Do not connect"},
                   {DialogChoice::once, "Connect this once"},
                   {DialogChoice::always, "Always trust exactly this"}};
  model.confirmation = {"Always trust this certificate?",
                        {{"", "From now on it is trusted without a question.", {}, false},
                         {"domain", "EVIL.example", DialogTone::plain, true}},
                        "Yes, trust it from now on",
                        "Back to the choices"};
  model.armMilliseconds = 0;
  return model;
}

#endif
