// Opening files below a folder in such a way that no name and no symbolic link leads out of it.
#pragma once

#include <filesystem>
#include <string>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

// Opens the folder itself. Nothing where it isn't there or is no folder.
UniqueFd OpenFolder(const std::string& folder);

// Opens `relative` ("images/a.png", no leading slash) below `folderFd` for reading; nothing where it isn't
// there or leads out of the folder. Links inside the folder are followed. Where the kernel lacks the call for
// this (openat2), links are not followed at all. Never blocks, not for a named pipe either.
UniqueFd OpenBelow(int folderFd, const std::string& relative);

// The second way of OpenBelow: segment by segment, without following any link.
UniqueFd OpenBelowWithoutLinks(int folderFd, const std::string& relative);

// Opens the folder `below` of `root`, for reading and for what is made in it; the root itself where `below`
// is empty. Nothing where one of the components below is a link, no folder, or not there: errno tells why,
// ELOOP for a link.
UniqueFd OpenFolderWithoutLinks(const std::filesystem::path& root, const std::filesystem::path& below);

}  // namespace hostlinux
