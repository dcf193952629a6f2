// A table on a real engine, and pages that read it while something gets in their way.
#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <functional>

#include "host-fake/ErrorOf.h"
#include "tests/conformance/EngineUnderTest.h"

class FaultTest : public testing::Test {
 protected:
  using Clock = std::chrono::steady_clock;

  explicit FaultTest(EngineKind kind) : m_kind(kind) {}
  void SetUp() override {
    if (const std::string missing = WhatIsMissing(m_kind); !missing.empty()) GTEST_SKIP() << missing;
    m_database = std::make_unique<EngineDatabase>(m_kind);
    m_database->Run(u"CREATE TABLE t (id INT NOT NULL PRIMARY KEY, name VARCHAR(20))");
    m_database->Run(u"INSERT INTO t VALUES (1, 'a'), (2, 'b')");
  }

  // A page's work: a connection from the pool, a statement, and the end of the request.
  std::string Page(const varnel::String& sql) {
    std::string text;
    {
      const auto connection = m_database->Connect();
      const auto rows = m_database->NewRecordset();
      rows->Open(sql, connection, 3, 1, -1);
      text = DatabaseUnderTest::RowsOf(*rows);
    }
    m_database->Services()->EndRequest();
    return text;
  }

  static std::string MessageOf(const std::function<void()>& action) {
    return varnel::ToUtf8(hostfake::ErrorOf(action).Description);
  }

  // That none of them is let through, on a connection with `more` keys.
  void ExpectRefused(const varnel::String& more, std::initializer_list<varnel::String> statements) {
    const auto connection = m_database->Connect(more);
    for (const varnel::String& sql : statements) {
      EXPECT_EQ(hostlinux::provider_error::kPermission,
                hostfake::NumberOf([&] { connection->Execute(sql, -1); }))
          << varnel::ToUtf8(sql);
    }
    EXPECT_EQ("2", Page(u"SELECT COUNT(*) FROM t"));
  }

  // That a result, and a value, is too large.
  void ExpectLimits(const varnel::String& endless, const varnel::String& longValue) {
    hostlinux::AdoOptions options;
    options.limits.maxResult = 1 << 20;
    options.limits.maxValue = 1 << 20;
    EngineDatabase small(m_kind, options);
    // Each on a connection of its own: on a busy machine a server may be given up that goes on sending.
    const auto read = [&](const varnel::String& sql) {
      const auto rows = small.NewRecordset();
      rows->Open(sql, small.Connect(), 3, 1, -1);
      return DatabaseUnderTest::RowsOf(*rows);
    };
    EXPECT_THAT(MessageOf([&] { read(endless); }), testing::HasSubstr("larger than a result may be"));
    EXPECT_THAT(MessageOf([&] { read(longValue); }), testing::HasSubstr("larger than a value may be"));
    EXPECT_EQ("1", read(u"SELECT 1"));
  }

  EngineKind m_kind;
  std::unique_ptr<EngineDatabase> m_database;
};
