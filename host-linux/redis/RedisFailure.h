// A Redis server couldn't be asked: it isn't there, is too slow, or doesn't speak its protocol.
#pragma once

#include <stdexcept>
#include <string>

namespace hostlinux {

class RedisFailure : public std::runtime_error {
 public:
  enum class Kind {
    Closed,   // the connection has ended: another one may do
    TooLong,  // this answer was, which says nothing of others
    Other
  };
  explicit RedisFailure(const std::string& reason, Kind kind = Kind::Other)
      : std::runtime_error(reason), m_kind(kind) {}
  Kind What() const { return m_kind; }

 private:
  Kind m_kind;
};

}  // namespace hostlinux
