#include "host-linux/sessions/SessionFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host-linux/base/UniqueFd.h"
#include "host-linux/sessions/Bytes.h"
#include "host-linux/sessions/ValueBytes.h"

namespace hostlinux {

namespace {

constexpr std::chrono::seconds kPause(1);  // after a failed change, so that a full disk costs few requests
constexpr std::chrono::seconds kSilence(60);
constexpr char kFileName[] = "sessions.db";
constexpr char kLocksName[] = "sessions.lock";
constexpr std::uint8_t kFormat = 1;
constexpr std::size_t kMostQueued = 500'000;
constexpr std::size_t kPiece = 64;  // sessions that are handled while others wait
constexpr int kLogPages = 500;      // worth folding
constexpr int kManyLogPages = 8'000;

// The head of a session stands under the empty name, before its values.
constexpr std::string_view kHeadName;

std::string BytesOf(const SessionHead& head) {
  ByteWriter writer;
  writer.Number(kFormat);
  writer.Number(head.version);
  writer.Number(head.lastUsed);
  writer.Number(head.id);
  writer.Number(head.lcid);
  writer.Number(head.minutes);
  writer.Number(static_cast<std::uint8_t>(head.isUsedAgain));
  writer.Text(std::string_view(head.formToken));
  return writer.Take();
}

[[noreturn]] void FailAsDamaged() { throw DatabaseFailure(SQLITE_CORRUPT, "a session's bytes are damaged"); }

SessionHead HeadOf(const std::string& token, std::string_view bytes) {
  SessionHead head;
  head.token = token;
  ByteReader reader(bytes);
  std::uint8_t format = 0;
  std::uint8_t isUsedAgain = 0;
  const bool isWhole = reader.Number(format) && reader.Number(head.version) && reader.Number(head.lastUsed) &&
                       reader.Number(head.id) && reader.Number(head.lcid) && reader.Number(head.minutes) &&
                       reader.Number(isUsedAgain) && reader.Text(head.formToken) && reader.Left() == 0;
  if (!isWhole || format != kFormat || head.version == 0) FailAsDamaged();
  head.isUsedAgain = isUsedAgain != 0;
  return head;
}

[[noreturn]] void FailAt(const std::filesystem::path& folder, const std::string& reason) {
  throw ArchiveFailure("Sessions can't be kept in " + folder.string() + ": " + reason);
}

void RequirePrivateFolder(const std::filesystem::path& folder) {
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) FailAt(folder, std::strerror(errno));
  struct stat facts {};
  if (::stat(folder.c_str(), &facts) != 0) FailAt(folder, std::strerror(errno));
  if (!S_ISDIR(facts.st_mode)) FailAt(folder, "it is no folder");
  if (facts.st_uid != ::geteuid() || (facts.st_mode & (S_IRWXG | S_IRWXO)) != 0)
    FailAt(folder, "it must be the server's user's, and readable by nobody else (chmod 700)");
}

// Made for this user alone, whatever the process's mask is. One that is there is left closed: closing it
// would end the locks that the engine has on it.
void MakePrivateFile(const std::filesystem::path& file) {
  const UniqueFd made(::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
}

// The byte of a session: the system gives it back with the process that has it locked.
struct flock ByteOf(const std::string& token, short type) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(std::stoull(token.substr(0, 15), nullptr, 16));
  range.l_len = 1;
  return range;
}

// Which file it is, whatever its name; {0, 0} where there is none.
std::pair<std::uint64_t, std::uint64_t> IdentityOf(const std::filesystem::path& file) {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) != 0) return {0, 0};
  return {facts.st_dev, facts.st_ino};
}

}  // namespace

SessionFile::SessionFile(Options options) : m_options(std::move(options)) {
  RequirePrivateFolder(m_options.folder);
  m_locks = UniqueFd(::open((m_options.folder / kLocksName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  const std::lock_guard lock(m_mutex);
  try {
    try {
      Open();
    } catch (const DatabaseFailure& failure) {
      if (!failure.IsDamage()) throw;
      StartAnew(failure.what());
    }
  } catch (const DatabaseFailure& failure) {
    FailAt(m_options.folder, failure.what());
  }
}

SessionFile::~SessionFile() = default;

void SessionFile::Open() {
  MakePrivateFile(File());
  const auto open = [this] {
    return std::make_unique<SessionDatabase>(File(), m_options.maxBytes, m_options.isDurable);
  };
  m_database = open();
  m_seenVersion = -1;
  m_identity = IdentityOf(File());
  const std::lock_guard folding(m_folding);
  m_folder = open();
}

// Another worker has put a new file into the place of a damaged one, or somebody has removed it.
void SessionFile::FollowFile() {
  const std::lock_guard lock(m_mutex);
  if (!m_database || IdentityOf(File()) == m_identity) return;
  Log("The file of sessions " + File().string() + " has been replaced: the new one is taken");
  Close();
  try {
    Open();
  } catch (const DatabaseFailure& failure) {
    OnFailure(failure);
  }
}

void SessionFile::Close() {
  {
    const std::lock_guard folding(m_folding);
    m_folder.reset();
  }
  m_database.reset();
}

std::filesystem::path SessionFile::File() const { return m_options.folder / kFileName; }

std::vector<std::string> SessionFile::FileNames() {
  std::vector<std::string> names;
  for (const char* suffix : {"", "-wal", "-shm"}) names.push_back(kFileName + std::string(suffix));
  names.emplace_back(kLocksName);
  return names;
}

// The locks stay: they say nothing of what is in the others.
void SessionFile::RemoveFiles() const {
  for (const std::string& name : FileNames())
    if (name != kLocksName) ::unlink((m_options.folder / name).c_str());
}

// Another worker that has the old file open goes on with that.
void SessionFile::StartAnew(const std::string& reason) {
  Log("The sessions in " + File().string() + " can't be read (" + reason + "): they start anew");
  Close();
  RemoveFiles();
  Open();
}

void SessionFile::Log(const std::string& sentence) {
  if (m_options.log) m_options.log(sentence);
}

void SessionFile::LogFailure(const std::string& reason) {
  const auto now = Clock::now();
  if (now < m_nextLog) return;
  m_nextLog = now + kSilence;
  Log("Sessions can't be stored in " + File().string() + ": " + reason);
}

// Damage costs the sessions, anything else only time.
void SessionFile::OnFailure(const DatabaseFailure& failure) {
  m_pausedUntil = Clock::now() + kPause;
  if (!failure.IsDamage()) return LogFailure(failure.what());
  try {
    StartAnew(failure.what());
  } catch (const DatabaseFailure& again) {
    LogFailure(again.what());
  }
}

// Runs `call` with the database, under the lock.
template <typename Call>
auto SessionFile::Guarded(Call call) {
  const std::lock_guard lock(m_mutex);
  try {
    if (!m_database) {
      if (Clock::now() < m_pausedUntil) throw ArchiveFailure("the file of sessions is gone");
      Open();
    }
    return call();
  } catch (const DatabaseFailure& failure) {
    OnFailure(failure);
    throw ArchiveFailure(failure.what());
  }
}

void SessionFile::RequireWritable() const {
  if (Clock::now() < m_pausedUntil) throw ArchiveFailure("a change has failed a moment ago");
}

std::optional<SessionHead> SessionFile::Head(const std::string& token) {
  return Guarded([&]() -> std::optional<SessionHead> {
    const auto bytes = m_database->Read(token, kHeadName);
    if (!bytes) return std::nullopt;
    return HeadOf(token, *bytes);
  });
}

std::optional<StoredSession> SessionFile::Load(const std::string& token) {
  return Guarded([&]() -> std::optional<StoredSession> {
    const auto rows = m_database->ReadAll(token);
    if (rows.empty() || rows.front().name != kHeadName) return std::nullopt;
    StoredSession session{HeadOf(token, rows.front().bytes), {}};
    session.values.reserve(rows.size() - 1);
    for (std::size_t i = 1; i < rows.size(); ++i) {
      auto value = ValueOf(rows[i].bytes);
      if (!value) FailAsDamaged();
      session.values.push_back(std::move(*value));
    }
    return session;
  });
}

std::vector<SessionHead> SessionFile::Heads() {
  std::vector<SessionHead> heads;
  std::string token;
  for (bool isMore = true; isMore;) {
    isMore = Guarded([&] {
      for (std::size_t i = 0; i < kPiece; ++i) {
        const auto row = m_database->ReadNext(token);
        if (!row) return false;
        if (row->name == kHeadName) heads.push_back(HeadOf(token, row->bytes));
      }
      return true;
    });
  }
  return heads;
}

void SessionFile::WriteValues(const SessionChange& change) {
  for (const varnel::String& key : change.values.removed) m_database->Remove(change.head.token, NameOf(key));
  for (const KeyedValue& value : change.values.set) {
    const auto bytes = BytesOf(value);
    if (bytes) {
      m_database->Write(change.head.token, NameOf(value.key), *bytes);
    } else {
      m_database->Remove(change.head.token, NameOf(value.key));
    }
  }
}

std::uint64_t SessionFile::Save(const SessionChange& change) {
  return Guarded([&] {
    RequireWritable();
    std::uint64_t version = 0;
    m_database->InOneStep([&] {
      SessionHead head = change.head;
      head.version = 1;
      if (change.head.version != 0) {
        const auto bytes = m_database->Read(head.token, kHeadName);
        if (!bytes) return;
        const SessionHead stored = HeadOf(head.token, *bytes);
        if (!change.setsLcid) head.lcid = stored.lcid;
        if (!change.setsMinutes) head.minutes = stored.minutes;
        head.isUsedAgain = head.isUsedAgain || stored.isUsedAgain;
        head.lastUsed = std::max(head.lastUsed, stored.lastUsed);
        head.version = stored.version + 1;
      }
      version = head.version;
      m_database->Write(head.token, kHeadName, BytesOf(head));
      WriteValues(change);
    });
    return version;
  });
}

void SessionFile::Remove(const std::string& token) {
  Guarded([&] {
    RequireWritable();
    m_database->InOneStep([&] { m_database->RemoveAll(token); });
  });
}

// One that can't be noted any more is removed when its time is over.
void SessionFile::RemoveLater(const std::string& token, std::int64_t lastUsed) {
  const std::lock_guard lock(m_queueing);
  if (m_queue.size() < kMostQueued) m_queue.emplace_back(token, lastUsed);
}

bool SessionFile::TryLock(const std::string& token) {
  struct flock range = ByteOf(token, F_WRLCK);
  if (::fcntl(m_locks.Get(), F_OFD_SETLK, &range) == 0) return true;
  if (errno == EAGAIN || errno == EACCES) return false;
  throw ArchiveFailure(std::string("sessions can't be locked: ") + std::strerror(errno));
}

void SessionFile::Unlock(const std::string& token) {
  struct flock range = ByteOf(token, F_UNLCK);
  ::fcntl(m_locks.Get(), F_OFD_SETLK, &range);
}

bool SessionFile::IsChangedByOthers() {
  return Guarded([&] {
    const std::int64_t version = m_database->Version();
    return std::exchange(m_seenVersion, version) != version;
  });
}

void SessionFile::RemoveQueued() {
  for (bool isMore = true; isMore;) {
    decltype(m_queue) piece;
    {
      const std::lock_guard lock(m_queueing);
      while (!m_queue.empty() && piece.size() < kPiece) {
        piece.push_back(std::move(m_queue.front()));
        m_queue.pop_front();
      }
      isMore = !m_queue.empty();
    }
    if (piece.empty()) return;
    Guarded([&] {
      m_database->InOneStep([&] {
        for (const auto& [token, lastUsed] : piece) {
          const auto bytes = m_database->Read(token, kHeadName);
          if (bytes && HeadOf(token, *bytes).lastUsed <= lastUsed) m_database->RemoveAll(token);
        }
      });
    });
  }
}

// First beside the requests; then, where the disk isn't waited for or the log is long, what came meanwhile,
// so that the log begins anew.
void SessionFile::FoldLog() {
  const int pages = Guarded([&] { return m_database->LogPages(); });
  if (pages < kLogPages) return;
  {
    const std::lock_guard folding(m_folding);
    if (m_folder) m_folder->FoldLog();
  }
  if (!m_options.isDurable || pages >= kManyLogPages) Guarded([&] { m_database->FoldLog(); });
}

void SessionFile::Tidy() {
  try {
    FollowFile();
    RemoveQueued();
    FoldLog();
  } catch (const ArchiveFailure&) {
    // It is in the log, and is tried again.
  } catch (const DatabaseFailure& failure) {
    const std::lock_guard lock(m_mutex);
    OnFailure(failure);
  }
}

}  // namespace hostlinux
