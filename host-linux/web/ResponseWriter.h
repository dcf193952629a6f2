// Writes the responses of one connection, as fast as its client takes them and without waiting for it.
// Private to the server.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>

#include "host-linux/web/HttpServer.h"
#include "host-linux/web/SpillFile.h"

namespace hostlinux {

class ResponseWriter {
 public:
  // What the request says about its response.
  struct Asked {
    bool isHttp11 = true;
    bool headOnly = false;
    bool keepAlive = false;
  };

  enum class Progress {
    Done,     // nothing is left for now
    Blocked,  // the client has to take something first
    Paused,   // more can go, but others should have their turn
    Failed    // the client is gone, or what was announced isn't there
  };

  ResponseWriter(const ServerOptions& options, SpillBounds& bounds);

  // The next response begins.
  void Begin(Asked asked);

  // Called before the head goes out: the connection ends with this response.
  void EndConnection() { m_asked.keepAlive = false; }

  // The response, as a whole.
  void AddWhole(HttpResponse response);

  // A part of it, the first one with the head. What the client doesn't take at once is to be stowed.
  void AddPart(HttpResponse part);

  // What comes behind the last part.
  void AddRest(std::string body);

  // The response ends here, and not as announced: its client must not take it for whole.
  void BreakOff();

  // What waits and is too much for memory goes to a file. False where there is no room for it.
  bool Stow();

  // Sends what the client takes.
  Progress Send(int socket);

  bool IsHeadOut() const { return m_headOut; }
  bool KeepsAlive() const { return m_asked.keepAlive; }
  int Status() const { return m_status; }
  std::uint64_t BodyBytes() const { return m_bodyBytes; }

  // The bytes that the client has taken on this connection.
  std::uint64_t Sent() const { return m_sent; }

 private:
  // Bytes in the order in which they go out. Takes no memory while it is empty, as most are most of the time.
  struct Queue {
    std::list<std::string> pieces;
    std::size_t bytes = 0;

    void Add(std::string piece);
    // Takes the first `count` bytes away.
    void Drop(std::size_t count, std::size_t& offset);
  };

  void SetFramingHeaders(HttpResponse& response, bool isPart);
  void Add(std::string bytes);
  void AddBody(std::string bytes);
  bool Refill();
  bool FillFromFile();
  bool FillFromSpill();
  void MoveToTail();

  const ServerOptions& m_options;
  SpillBounds& m_bounds;
  Asked m_asked;
  bool m_headOut = false;
  bool m_chunked = false;
  bool m_failed = false;
  int m_status = 0;
  std::uint64_t m_bodyBytes = 0;
  std::uint64_t m_sent = 0;

  // They go out one after the other.
  Queue m_output;
  std::size_t m_offset = 0;  // what is gone of the first piece
  std::optional<SpillFile> m_spill;
  Queue m_tail;
  std::optional<FileBody> m_file;
};

}  // namespace hostlinux
