#include "host-linux/sessions/RedisSessions.h"

#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "host-linux/base/Random.h"
#include "host-linux/sessions/ValueBytes.h"

namespace hostlinux {

namespace {

using varnel::Long;

constexpr std::chrono::seconds kSilence(60);
constexpr std::int64_t kIdsAtOnce = 64;
constexpr std::size_t kMostQueued = 200'000;
constexpr std::size_t kPiece = 200;  // commands that are sent together
constexpr Long kMostMinutes = 24 * 60;

// A key lives so much longer than its session, whose last use is stored with a delay. The scripts know it too.
constexpr std::int64_t kSlack = 60;

// KEYS: the session and its lock. ARGV: the lock's owner or "", "1" for a new session, the default minutes, how
// many fields are set, these with their values, and the fields that go. The version; 0 for a session that has
// gone, -1 for a lock that another one has. What may find the memory full comes first, so that nothing is half
// done then.
constexpr char kSave[] = R"(
if ARGV[1] ~= '' and redis.call('GET', KEYS[2]) ~= ARGV[1] then return -1 end
if ARGV[2] == '1' then redis.call('HSET', KEYS[1], 'v', '0')
elseif redis.call('HEXISTS', KEYS[1], 'v') == 0 then return 0 end
local version = redis.call('HINCRBY', KEYS[1], 'v', 1)
local last = 4 + 2 * tonumber(ARGV[4])
for i = 5, last, 2 do redis.call('HSET', KEYS[1], ARGV[i], ARGV[i + 1]) end
for i = last + 1, #ARGV do redis.call('HDEL', KEYS[1], ARGV[i]) end
local minutes = tonumber(redis.call('HGET', KEYS[1], 'm'))
if not minutes or minutes <= 0 then minutes = tonumber(ARGV[3]) end
redis.call('EXPIRE', KEYS[1], minutes * 60 + 60)
return version)";

// KEYS: the session. ARGV: the default minutes.
constexpr char kUse[] = R"(
local minutes = tonumber(redis.call('HGET', KEYS[1], 'm'))
if not minutes or minutes <= 0 then minutes = tonumber(ARGV[1]) end
return redis.call('EXPIRE', KEYS[1], minutes * 60 + 60))";

// KEYS: the lock. ARGV: its owner, milliseconds. 1 where it is the owner's, who may ask twice.
constexpr char kLock[] = R"(
if redis.call('SET', KEYS[1], ARGV[1], 'NX', 'PX', ARGV[2]) then return 1 end
if redis.call('GET', KEYS[1]) == ARGV[1] then return 1 end
return 0)";
constexpr char kRenewLock[] =
    "if redis.call('GET', KEYS[1]) == ARGV[1] then return redis.call('PEXPIRE', KEYS[1], ARGV[2]) end return "
    "0";
constexpr char kUnlock[] =
    "if redis.call('GET', KEYS[1]) == ARGV[1] then return redis.call('DEL', KEYS[1]) end return 0";

RedisClient::Options ClientOptionsOf(const RedisSessions::Options& options) {
  RedisClient::Options client = options.client;
  // Keys and values, as they are counted in memory, take less on their way.
  client.maxReply = 2 * options.maxBytes + (64 << 10);
  client.log = options.log;
  return client;
}

RedisSessions::Options Completed(RedisSessions::Options options) {
  if (options.timeOfDay) return options;
  options.timeOfDay = [] {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(now).count();
  };
  return options;
}

std::string HexOfSha256(const std::string& text) {
  std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
  ::SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data());
  std::string digits;
  for (const unsigned char byte : digest) {
    digits += "0123456789abcdef"[byte >> 4];
    digits += "0123456789abcdef"[byte & 15];
  }
  return digits;
}

std::string LockOf(const std::string& key) { return key + ":lock"; }

// False where `text` is no whole number of that range.
template <typename Number>
bool ReadNumber(const std::string& text, Number least, Number most, Number& number) {
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = failure == std::errc() && end == text.data() + text.size();
  return isWhole && number >= least && number <= most;
}

bool IsFormToken(const std::string& text) {
  return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// Only what was set replaces what another server may have set.
void AddHead(const SessionChange& change, std::vector<std::string>& set) {
  const bool isNew = change.head.version == 0;
  if (isNew) set.insert(set.end(), {"i", std::to_string(change.head.id), "f", change.head.formToken});
  if (isNew || change.setsLcid) set.insert(set.end(), {"l", std::to_string(change.head.lcid)});
  if (isNew || change.setsMinutes) set.insert(set.end(), {"m", std::to_string(change.head.minutes)});
}

bool IsMereUse(const SessionChange& change) {
  return change.head.version != 0 && !change.setsLcid && !change.setsMinutes && change.values.IsEmpty();
}

template <typename Queue>
Queue TakePiece(Queue& queue) {
  Queue piece;
  while (!queue.empty() && piece.size() < kPiece) piece.insert(queue.extract(queue.begin()));
  return piece;
}

}  // namespace

RedisSessions::RedisSessions(Options options)
    : m_options(Completed(std::move(options))), m_client(ClientOptionsOf(m_options)) {}

std::string RedisSessions::KeyOf(const std::string& token) const {
  return m_options.prefix + ":1:{" + HexOfSha256(token) + "}";
}

std::vector<RedisReply> RedisSessions::Ask(const std::vector<RedisCommand>& commands) {
  try {
    return m_client.Run(commands);
  } catch (const RedisFailure& failure) {
    throw ArchiveFailure("Redis at " + m_client.Name() + " can't be asked: " + failure.what());
  }
}

RedisReply RedisSessions::AskOne(const RedisCommand& command) {
  RedisReply reply = std::move(Ask({command})[0]);
  if (reply.IsError()) throw ArchiveFailure("Redis at " + m_client.Name() + " refuses it: " + reply.text);
  return reply;
}

// Numbers come in portions, so that a session in many costs a call.
Long RedisSessions::NewId() {
  const auto take = [this]() -> Long {
    constexpr std::int64_t kMost = std::numeric_limits<Long>::max();
    return static_cast<Long>(m_nextId++ % kMost + 1);
  };
  {
    const std::lock_guard lock(m_mutex);
    if (m_nextId < m_endOfIds) return take();
  }
  const std::int64_t end =
      AskOne({"INCRBY", m_options.prefix + ":1:ids", std::to_string(kIdsAtOnce)}).integer;
  const std::lock_guard lock(m_mutex);
  m_nextId = std::max<std::int64_t>(end - kIdsAtOnce, 0);
  m_endOfIds = m_nextId + kIdsAtOnce;
  return take();
}

std::nullopt_t RedisSessions::Damaged() {
  {
    const std::lock_guard lock(m_mutex);
    if (Clock::now() < m_nextLog) return std::nullopt;
    m_nextLog = Clock::now() + kSilence;
  }
  if (m_options.log)
    m_options.log("Redis at " + m_client.Name() +
                  " holds a session that isn't one of this site: it is left alone");
  return std::nullopt;
}

// `fields`: "v", "i", "f", "l" and "m".
std::optional<SessionHead> RedisSessions::HeadOf(const std::string& token, std::vector<std::string> fields,
                                                 const RedisReply& secondsLeft) {
  SessionHead head;
  head.token = token;
  constexpr auto kMostLong = std::numeric_limits<Long>::max();
  const bool isWhole = ReadNumber<std::uint64_t>(fields[0], 1, SIZE_MAX / 2, head.version) &&
                       ReadNumber<Long>(fields[1], 1, kMostLong, head.id) && IsFormToken(fields[2]) &&
                       ReadNumber<Long>(fields[3], 0, kMostLong, head.lcid) &&
                       ReadNumber<Long>(fields[4], 0, kMostMinutes, head.minutes) &&
                       secondsLeft.kind == RedisReply::Kind::Integer;
  if (!isWhole) return Damaged();
  if (secondsLeft.integer == -2) return std::nullopt;  // it has just gone
  head.formToken = std::move(fields[2]);
  const std::int64_t minutes = head.minutes > 0 ? head.minutes : m_options.timeout.count();
  const std::int64_t whole = minutes * 60 + kSlack;
  const std::int64_t left = secondsLeft.integer < 0 ? whole : secondsLeft.integer;
  head.lastUsed = m_options.timeOfDay() - std::clamp<std::int64_t>(whole - left, 0, whole);
  head.isUsedAgain = true;
  return head;
}

std::optional<SessionHead> RedisSessions::Head(const std::string& token) {
  const std::string key = KeyOf(token);
  const auto replies = Ask({{"HMGET", key, "v", "i", "f", "l", "m"}, {"TTL", key}});
  if (replies[0].IsError() && !replies[0].text.starts_with("WRONGTYPE"))
    throw ArchiveFailure("Redis at " + m_client.Name() + " refuses it: " + replies[0].text);
  if (replies[0].items.size() != 5) return Damaged();
  if (replies[0].items[0].kind == RedisReply::Kind::Nil) return std::nullopt;
  std::vector<std::string> fields;
  for (const RedisReply& item : replies[0].items) fields.push_back(item.text);
  return HeadOf(token, std::move(fields), replies[1]);
}

std::optional<StoredSession> RedisSessions::Load(const std::string& token) {
  const std::string key = KeyOf(token);
  std::vector<RedisReply> replies;
  try {
    replies = m_client.Run({{"HGETALL", key}, {"TTL", key}});
  } catch (const RedisFailure& failure) {
    if (failure.What() == RedisFailure::Kind::TooLong) return Damaged();
    throw ArchiveFailure("Redis at " + m_client.Name() + " can't be asked: " + failure.what());
  }
  if (replies[0].IsError() && !replies[0].text.starts_with("WRONGTYPE"))
    throw ArchiveFailure("Redis at " + m_client.Name() + " refuses it: " + replies[0].text);
  std::vector<RedisReply>& items = replies[0].items;
  if (replies[0].kind != RedisReply::Kind::Array || items.size() % 2 != 0) return Damaged();
  if (items.empty()) return std::nullopt;
  StoredSession session;
  std::vector<std::string> fields(5);
  for (std::size_t i = 0; i < items.size(); i += 2) {
    const std::string& name = items[i].text;
    if (name.starts_with("k")) {
      auto value = ValueOf(items[i + 1].text);
      if (!value || NameOf(value->key) != name) return Damaged();
      session.values.push_back(std::move(*value));
    } else {
      const std::size_t place =
          name.size() == 1 ? std::string_view("viflm").find(name[0]) : std::string::npos;
      if (place == std::string::npos) return Damaged();
      fields[place] = std::move(items[i + 1].text);
    }
  }
  auto head = HeadOf(token, std::move(fields), replies[1]);
  if (!head) return std::nullopt;
  session.head = std::move(*head);
  return session;
}

std::string RedisSessions::OwnerOf(const std::string& token) {
  const std::lock_guard lock(m_mutex);
  const auto found = m_owners.find(token);
  return found == m_owners.end() ? std::string() : found->second;
}

// Where too many wait, one that nobody else uses ends early.
void RedisSessions::NoteUse(const SessionHead& head) {
  const std::lock_guard lock(m_mutex);
  if (m_used.size() < kMostQueued) m_used.insert(head.token);
}

std::uint64_t RedisSessions::Save(const SessionChange& change) {
  if (IsMereUse(change)) {
    NoteUse(change.head);
    return change.head.version;
  }
  std::vector<std::string> set;
  AddHead(change, set);
  std::vector<std::string> removed;
  removed.reserve(change.values.removed.size());
  for (const varnel::String& key : change.values.removed) removed.push_back(NameOf(key));
  for (const KeyedValue& value : change.values.set) {
    auto bytes = BytesOf(value);
    if (bytes) {
      set.insert(set.end(), {NameOf(value.key), std::move(*bytes)});
    } else {
      removed.push_back(NameOf(value.key));
    }
  }
  const std::string key = KeyOf(change.head.token);
  RedisCommand command = {"EVAL",
                          kSave,
                          "2",
                          key,
                          LockOf(key),
                          OwnerOf(change.head.token),
                          change.head.version == 0 ? "1" : "0",
                          std::to_string(m_options.timeout.count()),
                          std::to_string(set.size() / 2)};
  command.insert(command.end(), std::make_move_iterator(set.begin()), std::make_move_iterator(set.end()));
  command.insert(command.end(), std::make_move_iterator(removed.begin()),
                 std::make_move_iterator(removed.end()));
  const std::int64_t version = AskOne(command).integer;
  if (version < 0) throw ArchiveFailure("another process has the lock of the session meanwhile");
  return static_cast<std::uint64_t>(version);
}

void RedisSessions::Remove(const std::string& token) {
  const std::string key = KeyOf(token);
  AskOne({"DEL", key});
}

// What has expired goes by itself.
void RedisSessions::RemoveLater(const std::string& token, std::int64_t lastUsed) {
  if (lastUsed != std::numeric_limits<std::int64_t>::max()) return;
  const std::lock_guard lock(m_mutex);
  if (m_removed.size() < kMostQueued) m_removed.insert(token);
}

bool RedisSessions::TryLock(const std::string& token) {
  const std::string owner = RandomToken();
  const auto lease = std::to_string(m_options.lease.count());
  if (AskOne({"EVAL", kLock, "1", LockOf(KeyOf(token)), owner, lease}).integer != 1) return false;
  const std::lock_guard lock(m_mutex);
  m_owners[token] = owner;
  return true;
}

// One that can't be given back ends with its lease.
void RedisSessions::Unlock(const std::string& token) {
  const std::string owner = OwnerOf(token);
  if (owner.empty()) return;
  {
    const std::lock_guard lock(m_mutex);
    m_owners.erase(token);
  }
  try {
    AskOne({"EVAL", kUnlock, "1", LockOf(KeyOf(token)), owner});
  } catch (const ArchiveFailure&) {
  }
}

void RedisSessions::RenewLocks() {
  std::vector<RedisCommand> commands;
  {
    const std::lock_guard lock(m_mutex);
    for (const auto& [token, owner] : m_owners)
      commands.push_back(
          {"EVAL", kRenewLock, "1", LockOf(KeyOf(token)), owner, std::to_string(m_options.lease.count())});
  }
  if (!commands.empty()) Ask(commands);
}

void RedisSessions::StoreUses() {
  for (;;) {
    std::vector<RedisCommand> commands;
    {
      const std::lock_guard lock(m_mutex);
      for (const std::string& token : TakePiece(m_used))
        commands.push_back({"EVAL", kUse, "1", KeyOf(token), std::to_string(m_options.timeout.count())});
    }
    if (commands.empty()) return;
    Ask(commands);
  }
}

void RedisSessions::RemoveQueued() {
  for (;;) {
    std::unordered_set<std::string> piece;
    {
      const std::lock_guard lock(m_mutex);
      piece = TakePiece(m_removed);
    }
    if (piece.empty()) return;
    RedisCommand command = {"DEL"};
    for (const std::string& token : piece) command.push_back(KeyOf(token));
    try {
      AskOne(command);
    } catch (const ArchiveFailure&) {
      const std::lock_guard lock(m_mutex);
      m_removed.merge(piece);
      throw;
    }
  }
}

void RedisSessions::Tidy() {
  try {
    RenewLocks();
    RemoveQueued();
    StoreUses();
  } catch (const ArchiveFailure&) {
    // It is in the log. What was to be removed is tried again.
  }
}

}  // namespace hostlinux
