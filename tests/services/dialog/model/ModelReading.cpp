#include "tests/services/dialog/model/ModelReading.h"

std::vector<CertificateDer> ders(const std::vector<TestCertificate>& chain) {
  std::vector<CertificateDer> all;
  for (const TestCertificate& certificate : chain) all.push_back(certificate.der());
  return all;
}

DialogInput inputOf(const std::vector<TestCertificate>& chain, unsigned long long warnings) {
  DialogInput input;
  input.asker = {"/usr/bin/fetch", 4711, "ada"};
  input.domain = "a.example";
  input.warnings = warnings;
  input.chain = ders(chain);
  input.now = kNow;
  return input;
}

void addEarlier(DialogInput* input, const std::vector<TestCertificate>& chain,
                unsigned long long warnings) {
  input->earlier.push_back({input->domain, warnings, ders(chain)});
}

std::vector<DialogSection> sectionsOf(const DialogModel& model, const std::string& kind) {
  std::vector<DialogSection> found;
  for (const DialogSection& section : model.sections) {
    if (section.kind == kind) found.push_back(section);
  }
  return found;
}

std::vector<std::string> valuesOf(const DialogSection& section, const std::string& label) {
  std::vector<std::string> texts;
  for (const DialogLine& line : section.lines) {
    if (line.label == label) texts.push_back(line.text);
  }
  return texts;
}

std::vector<DialogLine> allLines(const DialogModel& model) {
  std::vector<DialogLine> all = {{"", model.title, {}, false},
                                 {"", model.confirmation.heading, {}, false},
                                 {"", model.confirmation.acceptLabel, {}, false},
                                 {"", model.confirmation.backLabel, {}, false}};
  for (const DialogSection& section : model.sections) {
    all.push_back({section.kind, section.heading, {}, false});
    all.insert(all.end(), section.lines.begin(), section.lines.end());
  }
  for (const DialogOption& option : model.options) all.push_back({"", option.label, {}, false});
  all.insert(all.end(), model.confirmation.lines.begin(), model.confirmation.lines.end());
  return all;
}
