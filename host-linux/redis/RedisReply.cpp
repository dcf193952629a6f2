#include "host-linux/redis/RedisReply.h"

#include <hiredis/hiredis.h>
#include <hiredis/read.h>

#include <new>

#include "host-linux/redis/RedisFailure.h"

namespace hostlinux {

namespace {

// An element takes five bytes on its way at least, and several times as many here; those that the house stores
// take more than this.
constexpr std::size_t kBytesOfElement = 16;

struct Budget {
  std::size_t elements = 0;
  bool isExceeded = false;
};

// Where the reply of a task goes: a new one, or its place in the array that it is a part of.
RedisReply* PlaceOf(const redisReadTask* task) {
  if (task->parent == nullptr) return new (std::nothrow) RedisReply();
  auto& items = static_cast<RedisReply*>(task->parent->obj)->items;
  const auto position = static_cast<std::size_t>(task->idx);
  return position < items.size() ? &items[position] : nullptr;
}

void Drop(const redisReadTask* task, RedisReply* reply) {
  if (task->parent == nullptr) delete reply;
}

// The library is C: nothing may be thrown through it. Null is out of memory to it.
void* MakeText(const redisReadTask* task, char* text, std::size_t size) {
  RedisReply* reply = PlaceOf(task);
  if (reply == nullptr) return nullptr;
  try {
    reply->kind = task->type == REDIS_REPLY_ERROR ? RedisReply::Kind::Error : RedisReply::Kind::Text;
    reply->text.assign(text, size);
    return reply;
  } catch (const std::bad_alloc&) {
    Drop(task, reply);
    return nullptr;
  }
}

template <typename Count>
void* MakeArray(const redisReadTask* task, Count count) {
  auto* budget = static_cast<Budget*>(task->privdata);
  if (count < 0) return nullptr;
  budget->isExceeded = static_cast<std::size_t>(count) > budget->elements;
  if (budget->isExceeded) return nullptr;
  RedisReply* reply = PlaceOf(task);
  if (reply == nullptr) return nullptr;
  try {
    reply->kind = RedisReply::Kind::Array;
    reply->items.resize(static_cast<std::size_t>(count));
    budget->elements -= static_cast<std::size_t>(count);
    return reply;
  } catch (const std::bad_alloc&) {
    Drop(task, reply);
    return nullptr;
  }
}

void* MakeInteger(const redisReadTask* task, long long value) {
  RedisReply* reply = PlaceOf(task);
  if (reply == nullptr) return nullptr;
  reply->kind = RedisReply::Kind::Integer;
  reply->integer = value;
  return reply;
}

void* MakeNil(const redisReadTask* task) { return PlaceOf(task); }

// Only the outermost one is the library's to free.
void Free(void* reply) { delete static_cast<RedisReply*>(reply); }

[[noreturn]] void FailAsTooLong(std::size_t maxBytes) {
  throw RedisFailure("its answer is longer than " + std::to_string(maxBytes) + " bytes",
                     RedisFailure::Kind::TooLong);
}

struct FreeReader {
  void operator()(redisReader* reader) const { redisReaderFree(reader); }
};

}  // namespace

struct RedisReplyReader::Parts {
  redisReplyObjectFunctions functions{};
  std::unique_ptr<redisReader, FreeReader> reader;
  Budget budget;
  std::size_t maxBytes = 0;
  std::size_t fed = 0;
};

RedisReplyReader::RedisReplyReader(std::size_t maxBytes) : m_parts(std::make_unique<Parts>()) {
  m_parts->maxBytes = maxBytes;
  redisReplyObjectFunctions& functions = m_parts->functions;
  functions.createString = MakeText;
  functions.createArray = [](const redisReadTask* task, auto count) -> void* {
    return MakeArray(task, count);
  };
  functions.createInteger = MakeInteger;
  functions.createNil = MakeNil;
  functions.freeObject = Free;
  m_parts->reader.reset(redisReaderCreateWithFunctions(&functions));
  if (m_parts->reader == nullptr) throw std::bad_alloc();
  m_parts->reader->privdata = &m_parts->budget;
  BeginAnew();
}

RedisReplyReader::~RedisReplyReader() = default;

void RedisReplyReader::BeginAnew() {
  m_parts->fed = 0;
  m_parts->budget.elements = m_parts->maxBytes / kBytesOfElement;
}

void RedisReplyReader::Feed(std::string_view bytes) {
  if (bytes.size() > m_parts->maxBytes - m_parts->fed) FailAsTooLong(m_parts->maxBytes);
  m_parts->fed += bytes.size();
  if (redisReaderFeed(m_parts->reader.get(), bytes.data(), bytes.size()) != REDIS_OK) throw std::bad_alloc();
}

std::optional<RedisReply> RedisReplyReader::Next() {
  void* made = nullptr;
  const bool isRead = redisReaderGetReply(m_parts->reader.get(), &made) == REDIS_OK;
  if (!isRead && m_parts->budget.isExceeded) FailAsTooLong(m_parts->maxBytes);
  if (!isRead) throw RedisFailure("its answer can't be read: " + std::string(m_parts->reader->errstr));
  if (made == nullptr) return std::nullopt;
  const std::unique_ptr<RedisReply> reply(static_cast<RedisReply*>(made));
  return std::move(*reply);
}

}  // namespace hostlinux
