#ifndef TESTS_TOOLS_EXCEPTIONS_RECORDS_H
#define TESTS_TOOLS_EXCEPTIONS_RECORDS_H

#include <string>
#include <vector>

#include "tools/trustctl/exceptions/ExceptionRecord.h"

// Records for tests.

// For that domain; its one certificate is made of the text and is none.
ExceptionRecord plainRecord(const std::string& domain, const std::string& certificate = "abc");

// Up to ten records that hash alike: the bytes, split differently between domain and certificate.
std::vector<ExceptionRecord> recordsOfOneHash(std::size_t count,
                                              const std::string& bytes = "abcdefghijkl");

// Writes the record into the directory under that number of its hash; returns the file's name.
std::string place(const std::string& directory, const ExceptionRecord& record, int number = 0);

// Writes any bytes under that name.
void placeBytes(const std::string& directory, const std::string& name, const std::string& bytes);

// What the library says of the record over that directory.
bool libraryFinds(const std::string& directory, const ExceptionRecord& record);

// Adds it by the library.
void libraryAdds(const std::string& directory, const ExceptionRecord& record);

// How many of the records the library finds.
std::size_t countFound(const std::string& directory, const std::vector<ExceptionRecord>& records);

// The names of all plain files and links in the directory but the lock, sorted.
std::vector<std::string> entriesOf(const std::string& directory);

#endif
