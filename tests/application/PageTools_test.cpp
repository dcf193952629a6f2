// What pages find besides the language: console, addresses, texts as bytes, crypto.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class PageToolsTest : public hosttest::PageTest {
 protected:
  // What it throws: "TypeError: ...".
  std::string ErrorOf(const std::string& expression) {
    return Output("<% try { " + expression +
                  "; Response.Write('no error'); } catch (e) { Response.Write(String(e)); } %>");
  }
};

// --- console

TEST_F(PageToolsTest, ConsoleWritesIntoTheLogWithPageAndLine) {
  site.WritePage("a.inc", "\n<% function inside() { console.warn('from', 'inside'); } %>");
  site.WritePage("a.asp",
                 "<!--#include file='a.inc'-->\n<% console.log('plain', 1, null, {a: [1, 'b']});\ninside(); "
                 "console.error(new Error('bad')); %>");
  EXPECT_EQ(Get("/shop/a.asp").status, 200);
  const std::string log = EndedLog();
  EXPECT_THAT(log, testing::ContainsRegex(
                       "info \\[[0-9a-f]+\\] a.asp, line 2: plain 1 null \\{\"a\":\\[1,\"b\"\\]\\}"));
  EXPECT_THAT(log, testing::ContainsRegex(
                       "warning \\[[0-9a-f]+\\] a.inc \\(called for a.asp\\), line 2: from inside"));
  EXPECT_THAT(log, testing::ContainsRegex("error \\[[0-9a-f]+\\] a.asp, line 3: Error: bad"));
}

TEST_F(PageToolsTest, ConsoleKeepsAnEntryOneLineAndShort) {
  site.WritePage("a.asp", "<% console.log('one\\n2026-01-01 error forged', 'x'.repeat(100000)); %>");
  Get("/shop/a.asp");
  const std::string log = EndedLog();
  EXPECT_THAT(log, HasSubstr("one\\n2026-01-01 error forged x"));
  EXPECT_LT(log.size(), 20'000u);
}

TEST_F(PageToolsTest, ConsoleShowsWhateverThereIs) {
  EXPECT_EQ(
      Output(
          "<% var a = {}; a.a = a; console.log(a, undefined, Symbol('s'), 1n, () => 1, Request, new Map(), "
          "{toJSON() { throw 1; }}); %>done"),
      "done");
}

TEST_F(PageToolsTest, ConsoleShowsAFieldAsItsValue) {
  site.MakeCustomers(1);
  Output(
      "<% var p = Server.CreateObject('Varnel.Page'); p.OpenDatabaseConnection('Demo'); var rs = "
      "p.DRecordset();"
      " rs.OpenRS('SELECT ID, NAME FROM CUSTOMER', 'ID'); console.log(rs('NAME'), rs('NAME').Value, "
      "Request('none')); %>");
  EXPECT_THAT(EndedLog(), HasSubstr("line 1: n01 n01 "));
}

TEST_F(PageToolsTest, TheToolsCanNotBeChanged) {
  for (const char* change : {"console.log = 1", "URL = 1", "URL.prototype.x = 1", "URLSearchParams.x = 1",
                             "crypto.hash = 1", "console = 1", "TextEncoder.prototype.encode = 1"})
    EXPECT_THAT(ErrorOf(change), HasSubstr("TypeError")) << change;
  EXPECT_EQ(Value("typeof host + typeof URLSearchParams.watched"), "undefinedundefined");
}

// --- URL

TEST_F(PageToolsTest, AnAddressIsReadInItsParts) {
  EXPECT_EQ(
      Output("<% var u = new URL('HTTPS://ann:pw@Example.org:8443/a/../b%20c?x=1&y=%C3%A4#part');"
             "Response.Write([u.protocol, u.username, u.password, u.hostname, u.port, u.host, u.origin, "
             "u.pathname, u.search,"
             " u.hash].join(' ')); %>"),
      "https: ann pw Example.org 8443 Example.org:8443 https://Example.org:8443 /b%20c ?x=1&y=%C3%A4 #part");
  EXPECT_EQ(Value("new URL('http://h:80').href"), "http://h/");
}

TEST_F(PageToolsTest, AnAddressMayBeRelativeToABase) {
  EXPECT_EQ(Value("new URL('../c?d', 'http://h/a/b/x').href"), "http://h/a/c?d");
  EXPECT_EQ(Value("new URL('//other/x', 'https://h/').href"), "https://other/x");
  EXPECT_THAT(ErrorOf("new URL('/a')"), HasSubstr("TypeError: Invalid URL: /a"));
  EXPECT_THAT(ErrorOf("new URL('http://')"), HasSubstr("TypeError"));
  EXPECT_THAT(ErrorOf("new URL('http://a b/')"), HasSubstr("TypeError"));
  EXPECT_THAT(ErrorOf("new URL('http://a\\0b/')"), HasSubstr("TypeError"));
  EXPECT_EQ(Value("URL.canParse('x') + ' ' + URL.canParse('http://h')"), "false true");
}

TEST_F(PageToolsTest, PartsOfAnAddressCanBeChanged) {
  EXPECT_EQ(
      Output("<% var u = new URL('http://h/a'); u.searchParams.append('q', 'a b&c'); u.hash = 'x'; "
             "u.pathname = 'b?c';"
             " u.host = 'i:81'; Response.Write(u.href + ' ' + u); u.search = '?z=1';"
             " Response.Write(' ' + u.searchParams.get('z') + u.searchParams.size + ' ' + "
             "JSON.stringify({u})); %>"),
      "http://i:81/b%3Fc?q=a+b%26c#x http://i:81/b%3Fc?q=a+b%26c#x 11 {\"u\":\"http://i:81/b%3Fc?z=1#x\"}");
}

TEST_F(PageToolsTest, ParametersAreReadAndWrittenAsForms) {
  EXPECT_EQ(Output("<% var p = new URLSearchParams('?a=1&b=%E2%82%AC+x&a=2&&c&%zz=%');"
                   " Response.Write([p.get('a'), p.getAll('a').join('+'), p.get('b'), p.get('c'), "
                   "p.get('none'), p.has('%zz', '%'), p.size]"
                   ".map(String).join('|')); p.set('a', '3'); p.delete('c'); p.append('d', "
                   "\"!'()*~\\uD800\"); Response.Write(' ' + p); %>"),
            "1|1+2|\xE2\x82\xAC x||null|true|5 a=3&b=%E2%82%AC+x&%25zz=%25&d=%21%27%28%29*%7E%EF%BF%BD");
  EXPECT_EQ(Value("new URLSearchParams({a: 1, b: 'x'}) + ' ' + new URLSearchParams([['a', 1]]) + ' ' + "
                  "[...new URLSearchParams('a=1&b=2')].join(';')"),
            "a=1&b=x a=1 a,1;b,2");
  EXPECT_THAT(ErrorOf("new URLSearchParams([['a']])"), HasSubstr("TypeError"));
}

// --- Texts as bytes

TEST_F(PageToolsTest, TextsBecomeBytesAndBack) {
  EXPECT_EQ(Value("Array.from(new TextEncoder().encode('a\\u20AC\\uD83D\\uDE00\\uD800')).join()"),
            "97,226,130,172,240,159,152,128,239,191,189");
  EXPECT_EQ(Value("new TextDecoder().decode(new Uint8Array([0xEF, 0xBB, 0xBF, 0xE2, 0x82, 0xAC, 0xFF]))"),
            "\xE2\x82\xAC\xEF\xBF\xBD");
  EXPECT_THAT(ErrorOf("new TextDecoder('utf-8', {fatal: true}).decode(new Uint8Array([0xFF]))"),
              HasSubstr("TypeError"));
  EXPECT_THAT(ErrorOf("new TextDecoder('latin1')"), HasSubstr("RangeError"));
  EXPECT_THAT(ErrorOf("new TextDecoder().decode('x')"), HasSubstr("TypeError"));
  EXPECT_EQ(
      Value("new TextDecoder().decode(new TextEncoder().encode('x').buffer) + new TextDecoder().decode()"),
      "x");
}

// --- crypto

TEST_F(PageToolsTest, HashesAreThoseOfTheirStandards) {
  EXPECT_EQ(Value("crypto.hash('sha256', 'abc')"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(Value("crypto.hash('SHA-512', new Uint8Array([97, 98, 99])).slice(0, 16)"), "ddaf35a193617aba");
  EXPECT_EQ(Value("crypto.hash('sha256', '', 'base64')"), "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=");
  EXPECT_EQ(Value("crypto.hash('sha256', '', 'base64url')"), "47DEQpj8HBSa-_TImW-5JCeuQeRkm5NMpJWZG3hSuFU");
  EXPECT_EQ(Value("crypto.hash('sha256', 'abc', 'bytes').length"), "32");
  EXPECT_EQ(Value("crypto.hmac('sha256', 'Jefe', 'what do ya want for nothing?')"),
            "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
  EXPECT_EQ(Value("crypto.hmac('sha512', 'Jefe', 'what do ya want for nothing?').slice(0, 16)"),
            "164b7a7bfcf819e2");
  EXPECT_THAT(ErrorOf("crypto.hash('md5', 'a')"), HasSubstr("crypto knows sha256 and sha512, not md5"));
  EXPECT_THAT(ErrorOf("crypto.hash('sha256', 5)"), HasSubstr("TypeError"));
}

TEST_F(PageToolsTest, RandomBytesDiffer) {
  EXPECT_EQ(
      Output("<% var a = crypto.getRandomValues(new Uint8Array(1000)), b = crypto.getRandomValues(new "
             "Uint32Array(250));"
             " Response.Write(new Set(a).size > 200 && a.join() !== new Uint8Array(b.buffer).join()); %>"),
      "True");
  EXPECT_EQ(Value("/^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$/"
                  ".test(crypto.randomUUID())"),
            "True");
  EXPECT_EQ(Value("crypto.randomUUID() !== crypto.randomUUID()"), "True");
  EXPECT_THAT(ErrorOf("crypto.getRandomValues(new Uint8Array(65537))"), HasSubstr("RangeError"));
  EXPECT_THAT(ErrorOf("crypto.getRandomValues(new Float64Array(1))"), HasSubstr("TypeError"));
  EXPECT_THAT(ErrorOf("crypto.getRandomValues([1])"), HasSubstr("TypeError"));
}

TEST_F(PageToolsTest, PasswordsAreKeptAsHashes) {
  EXPECT_EQ(
      Output("<% var h = crypto.hashPassword('secret \\u20AC'); Response.Write(h.startsWith('$y$') + ' ' + "
             "crypto.isPassword('secret \\u20AC', h) + ' ' + crypto.isPassword('other', h) + ' ' + "
             "crypto.isPassword('', '') + ' ' + "
             "crypto.isPassword('x', 'x') + ' ' + (h !== crypto.hashPassword('secret \\u20AC'))); %>"),
      "true true false false false true");
  EXPECT_THAT(ErrorOf("crypto.hashPassword('')"), Not(HasSubstr("no error")));
}

TEST_F(PageToolsTest, ComparesSecrets) {
  EXPECT_EQ(Value("[crypto.areEqual('abc', 'abc'), crypto.areEqual('abc', 'abd'), crypto.areEqual('abc', "
                  "'ab'), crypto.areEqual('', ''),"
                  " crypto.areEqual('a', ''), crypto.areEqual('', 'a'), crypto.areEqual('abab', 'ab'),"
                  " crypto.areEqual(new Uint8Array([97]), 'a')].join()"),
            "true,false,false,true,false,false,false,true");
}

}  // namespace
