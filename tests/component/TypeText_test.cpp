// The text that the type library of the DLL is compiled from.
#include "host-windows/types/TypeText.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "host-fake/FakeHost.h"

namespace {

// Programs are built against it: an operation that is missing there is one that they can't call.
TEST(TypeText, IsTheOneThatTheMemberTablesGive) {
  const hostfake::FakeHost host;
  std::ifstream file(VARNEL_SOURCE_DIR "/host-windows/types/varnel.idl", std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  EXPECT_TRUE(text.str() == hostwindows::WriteTypes())
      << "host-windows/types/varnel.idl is an old one: write it by varnel-types";
}

}  // namespace
