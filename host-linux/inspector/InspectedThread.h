// The one thread on which pages run while a debugger may look into them: between pages it handles what the
// debugger sends.
#pragma once

#include <functional>
#include <thread>

#include "host-linux/script/Inspection.h"

namespace hostlinux {

class InspectedThread {
 public:
  // `inspect` is called on the thread: at its start, and whenever there are events between two pages.
  InspectedThread(Inspection& inspection, std::function<void()> inspect);
  // Ends the inspection and waits for the thread.
  ~InspectedThread();
  InspectedThread(const InspectedThread&) = delete;
  InspectedThread& operator=(const InspectedThread&) = delete;

  // Runs `job` on the thread and waits for its end. What it throws is thrown here. After the end of the
  // inspection it raises std::runtime_error instead.
  void Run(const std::function<void()>& job);

 private:
  void Work();

  Inspection& m_inspection;
  const std::function<void()> m_inspect;
  std::thread m_thread;
};

}  // namespace hostlinux
