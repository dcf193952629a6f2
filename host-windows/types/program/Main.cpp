// varnel-types > varnel.idl
#include <cstdio>

#include "host-fake/FakeHost.h"
#include "host-windows/types/TypeText.h"

int main() {
  const hostfake::FakeHost host;
  std::fputs(hostwindows::WriteTypes().c_str(), stdout);
  return 0;
}
