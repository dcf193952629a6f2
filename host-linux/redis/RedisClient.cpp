#include "host-linux/redis/RedisClient.h"

#include <algorithm>

namespace hostlinux {

// A call's leave to be made, and what its end says of the server.
class RedisClient::Turn {
 public:
  explicit Turn(RedisClient& client) : m_client(client) {
    const std::lock_guard lock(client.m_mutex);
    if (client.m_reason.empty()) return;
    if (client.m_isLooking || Clock::now() < client.m_pausedUntil) throw RedisFailure(client.m_reason);
    m_isLooking = client.m_isLooking = true;
  }
  ~Turn() {
    if (!m_isLooking) return;
    const std::lock_guard lock(m_client.m_mutex);
    m_client.m_isLooking = false;
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  void Succeed() const {
    if (!m_isLooking) return;
    {
      const std::lock_guard lock(m_client.m_mutex);
      m_client.m_reason.clear();
      m_client.m_pause = m_client.m_options.firstPause;
    }
    m_client.Log("Redis at " + m_client.Name() + " answers again");
  }

  // Of the many calls that fail when it goes, one counts.
  void Fail(const std::string& reason) const {
    bool isNew = false;
    std::vector<ConnectionPtr> useless;
    {
      const std::lock_guard lock(m_client.m_mutex);
      isNew = m_client.m_reason.empty();
      if (!isNew && !m_isLooking) return;
      m_client.m_reason = reason;
      m_client.m_pausedUntil = Clock::now() + m_client.m_pause;
      m_client.m_pause = std::min(m_client.m_pause * 2, m_client.m_options.longestPause);
      useless.swap(m_client.m_idle);
    }
    if (isNew) m_client.Log("Redis at " + m_client.Name() + " can't be asked: " + reason);
  }

 private:
  RedisClient& m_client;
  bool m_isLooking = false;
};

RedisClient::RedisClient(Options options) : m_options(std::move(options)), m_pause(m_options.firstPause) {
  if (m_options.address.isTls)
    m_tls = std::make_unique<RedisTls>(m_options.caFile, m_options.certFile, m_options.keyFile);
}

void RedisClient::Log(const std::string& sentence) const {
  if (m_options.log) m_options.log(sentence);
}

RedisClient::ConnectionPtr RedisClient::TakeIdle() {
  const std::lock_guard lock(m_mutex);
  if (m_idle.empty()) return nullptr;
  ConnectionPtr connection = std::move(m_idle.back());
  m_idle.pop_back();
  return connection;
}

void RedisClient::PutBack(ConnectionPtr connection) {
  const std::lock_guard lock(m_mutex);
  if (m_reason.empty()) m_idle.push_back(std::move(connection));
}

// One that is no master any more stays none: the next call finds the new one by its name.
std::vector<RedisReply> RedisClient::RunOn(ConnectionPtr connection,
                                           const std::vector<RedisCommand>& commands,
                                           Clock::time_point deadline) {
  auto replies = connection->Exchange(commands, deadline);
  const bool isOld = std::any_of(replies.begin(), replies.end(), [](const RedisReply& reply) {
    return reply.IsError() && reply.text.starts_with("READONLY");
  });
  if (!isOld) PutBack(std::move(connection));
  return replies;
}

std::vector<RedisReply> RedisClient::RunOnAny(const std::vector<RedisCommand>& commands,
                                              Clock::time_point deadline) {
  if (ConnectionPtr idle = TakeIdle()) {
    try {
      return RunOn(std::move(idle), commands, deadline);
    } catch (const RedisFailure& failure) {
      if (failure.What() != RedisFailure::Kind::Closed) throw;
    }
    // The others were closed with it.
    const std::lock_guard lock(m_mutex);
    m_idle.clear();
  }
  return RunOn(
      std::make_unique<RedisConnection>(m_options.address, m_tls.get(), m_options.maxReply, deadline),
      commands, deadline);
}

std::vector<RedisReply> RedisClient::Run(const std::vector<RedisCommand>& commands) {
  const Turn turn(*this);
  try {
    auto replies = RunOnAny(commands, Clock::now() + m_options.timeout);
    turn.Succeed();
    return replies;
  } catch (const RedisFailure& failure) {
    if (failure.What() == RedisFailure::Kind::TooLong) {
      turn.Succeed();
    } else {
      turn.Fail(failure.what());
    }
    throw;
  }
}

}  // namespace hostlinux
