// One visitor's session in memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

#include "host-linux/intrinsics/SessionArchive.h"
#include "host-linux/intrinsics/ValueStore.h"

namespace hostlinux {

struct SessionState {
  SessionState(std::string secretToken, std::string secretFormToken, varnel::Long publicId,
               const ValueStore& initial)
      : token(std::move(secretToken)), formToken(std::move(secretFormToken)), id(publicId), values(initial) {}

  const std::string token;  // the cookie's value: 32 hexadecimal digits that nobody can guess
  // Another such text, for the forms of this session's pages. It is no key to the session.
  const std::string formToken;
  const varnel::Long id;  // what pages see as SessionID; no other living session has it
  ValueStore values;
  std::atomic<varnel::Long> lcid = 0;     // 0: the site's
  std::atomic<varnel::Long> minutes = 0;  // Timeout; 0: the site's

  std::atomic<std::int64_t> lastUsed = 0;    // seconds since 1970
  std::atomic<bool> isUsedAgain = false;     // by a second request
  mutable std::atomic<bool> isGone = false;  // ended: nothing of it is stored any more

  // What the archive has of it; its version is that of the values here.
  static constexpr std::uint64_t kNotLoaded = UINT64_MAX;  // a version: the values have yet to be read
  mutable std::mutex saving;                               // held while it is read or written
  SessionHead stored;                                      // under `saving`
};

}  // namespace hostlinux
