#ifndef SERVICES_CERTMGR_NAMEREDUCTION_H
#define SERVICES_CERTMGR_NAMEREDUCTION_H

#include <cstddef>
#include <string>
#include <vector>

// Makes the alternative names of an answer fewer ("DNS:a.example", "email:...") without a change
// to what a client concludes from them. All keep the order of what stays, never remove the last
// DNS name (a client that sees none takes the common names instead), and take a time that hardly
// grows faster than the names do.

// How many are DNS names.
std::size_t countDnsNames(const std::vector<std::string>& names);

// Leaves the DNS names alone: a client looks at no others.
void dropOtherNames(std::vector<std::string>& names);

// Leaves the first of those that differ in the case of ASCII letters only, as clients compare.
void dropDuplicateNames(std::vector<std::string>& names);

// Drops each DNS name without a wildcard that a name with one covers, as clients match: in
// "we*.a.example" the star stands for the rest of one label, and never in what looks like an
// IP address.
void dropCoveredNames(std::vector<std::string>& names);

#endif
