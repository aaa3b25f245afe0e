#ifndef SERVICES_COMMON_FILESYSTEM_H
#define SERVICES_COMMON_FILESYSTEM_H

#include <string>

// What std::filesystem tells of files too, but asked of the system by this project's own code. On
// a 32-bit system the C++ runtime may have been built with times of 32 bits: whatever is dated
// past 2038 is then neither a plain file nor a directory there, and a link to it leads nowhere.
// All follow symbolic links, but for the last part of linkTarget()'s path. Safe from several
// threads.

// Whether the path leads to anything, to a plain file, to a directory; false, too, where that
// cannot be looked at.
bool pathExists(const std::string& path);
bool isPlainFile(const std::string& path);
bool isDirectory(const std::string& path);

// What a symbolic link holds; empty, with errno set, where there is none or it cannot be read.
std::string linkTarget(const std::string& path);

// Makes the directory and what is missing above it, with all rights that the umask leaves.
// Returns 0, as for one that is there, or the error number.
int makeDirectories(const std::string& path);

// Where temporary files go: what TMPDIR, TMP, TEMP or TEMPDIR names, the first that is set, and
// /tmp where none is or that is no directory.
std::string temporaryDirectory();

#endif
