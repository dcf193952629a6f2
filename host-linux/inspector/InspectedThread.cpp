#include "host-linux/inspector/InspectedThread.h"

#include <future>
#include <stdexcept>
#include <utility>

namespace hostlinux {

InspectedThread::InspectedThread(Inspection& inspection, std::function<void()> inspect)
    : m_inspection(inspection), m_inspect(std::move(inspect)), m_thread([this] { Work(); }) {}

InspectedThread::~InspectedThread() {
  m_inspection.End();
  m_thread.join();
}

void InspectedThread::Run(const std::function<void()>& job) {
  std::promise<void> done;
  const bool taken = m_inspection.Post([&] {
    try {
      job();
      done.set_value();
    } catch (...) {
      done.set_exception(std::current_exception());
    }
  });
  if (!taken) throw std::runtime_error("The server is ending.");
  done.get_future().get();
}

void InspectedThread::Work() {
  m_inspect();
  Inspection::Job job;
  while (m_inspection.AwaitWork(job)) job ? job() : m_inspect();
}

}  // namespace hostlinux
