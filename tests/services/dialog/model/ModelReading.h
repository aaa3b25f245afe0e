#ifndef TESTS_SERVICES_DIALOG_MODEL_MODELREADING_H
#define TESTS_SERVICES_DIALOG_MODEL_MODELREADING_H

#include <string>
#include <vector>

#include "services/dialog/model/DialogInput.h"
#include "services/dialog/model/DialogModel.h"
#include "tests/support/CertificateMaker.h"

// Asks a model what it says, and makes what it is built from.

// 2026-06-01T00:00:00Z, when the certificates of CertificateMaker are valid.
constexpr std::int64_t kNow = 1780272000;
constexpr std::int64_t kDay = 86400;

std::vector<CertificateDer> ders(const std::vector<TestCertificate>& chain);

// The domain is a.example.
DialogInput inputOf(const std::vector<TestCertificate>& chain, unsigned long long warnings);

// Adds an exception for the input's domain.
void addEarlier(DialogInput* input, const std::vector<TestCertificate>& chain,
                unsigned long long warnings);

// All sections of that kind.
std::vector<DialogSection> sectionsOf(const DialogModel& model, const std::string& kind);

// The texts of the section's lines with that label; "" for sentences.
std::vector<std::string> valuesOf(const DialogSection& section, const std::string& label);

// All lines of a model, the headings and other words as lines too.
std::vector<DialogLine> allLines(const DialogModel& model);

#endif
