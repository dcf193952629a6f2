// What a Redis server answers.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hostlinux {

struct RedisReply {
  enum class Kind { Nil, Integer, Text, Error, Array };

  Kind kind = Kind::Nil;
  std::int64_t integer = 0;       // of Integer
  std::string text;               // of Text and Error, which begins with a word in capitals
  std::vector<RedisReply> items;  // of Array

  bool IsError() const { return kind == Kind::Error; }
};

// Takes the protocol's bytes apart. They may be anything: a reply takes no more memory than a small multiple of
// the limit.
class RedisReplyReader {
 public:
  // `maxBytes`: of all that is fed to it until it is empty again.
  explicit RedisReplyReader(std::size_t maxBytes);
  ~RedisReplyReader();
  RedisReplyReader(const RedisReplyReader&) = delete;
  RedisReplyReader& operator=(const RedisReplyReader&) = delete;

  // Throws RedisFailure where that is too much; the reader is of no use any more then.
  void Feed(std::string_view bytes);
  // The next whole reply; nothing where bytes are missing. Throws RedisFailure for what is no reply, or one too
  // large; the reader is of no use any more then.
  std::optional<RedisReply> Next();
  // For the next exchange: what was fed so far doesn't count any more.
  void BeginAnew();

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace hostlinux
