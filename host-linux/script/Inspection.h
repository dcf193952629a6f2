// The conversation of an engine with a debugger's client: messages of the debugging protocol (JSON, UTF-8),
// handed over between the client's thread and the one that the engine lives on, which takes its pages here
// too.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace hostlinux {

class Inspection {
 public:
  using Job = std::function<void()>;
  using Sender = std::function<void(std::string message)>;

  struct Event {
    enum class Kind { Opened, Message, Closed };
    Kind kind = Kind::Message;
    std::string message;
  };

  // --- The client's side, from any thread

  // A client has come; what the engine says goes to `send`, on the engine's thread, which must not call back.
  // False, and nothing is changed, while another one is there and after End. Once Close has returned, `send`
  // is not called any more.
  bool Open(Sender send);
  void Deliver(std::string message);
  // The client has gone: a paused page goes on.
  void Close();

  // --- The pages' side, from any thread

  // `job` runs on the engine's thread as soon as that is free. False after End.
  bool Post(Job job);
  // Nothing more comes: a paused page goes on, and the engine's thread ends when its jobs are done.
  void End();

  // --- The engine's side

  // Called, on the thread of whoever brings it, when an event arrives, so that a running page looks at it. An
  // empty one ends that. Must not call back.
  void SetInterrupt(std::function<void()> interrupt);
  // The next event that is there; nothing without one.
  std::optional<Event> TakeEvent();
  // Waits for the next event; nothing after End.
  std::optional<Event> AwaitEvent();
  // Waits for a job, or for an event, which stays. False after End, when no job is left. A `job` that stays
  // empty means that there are events.
  bool AwaitWork(Job& job);
  // Says `message` to the client, if there is one.
  void Say(std::string message);

 private:
  void Add(Event event);

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<Event> m_events;
  std::deque<Job> m_jobs;
  Sender m_send;  // empty: there is no client
  std::function<void()> m_interrupt;
  bool m_ended = false;
};

}  // namespace hostlinux
