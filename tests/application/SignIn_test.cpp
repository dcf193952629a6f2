// Pages that let users sign in.

#include <gmock/gmock.h>

#include "host-linux/services/PasswordHash.h"
#include "tests/application/ServedSite.h"

namespace {

using hosttest::Answer;
using hosttest::CookieLine;
using testing::HasSubstr;
using testing::Not;

constexpr char kSignIn[] =
    "<% var accounts = Server.CreateObject('Host.Accounts');"
    " if (accounts.Check(String(Request.Form('name')), String(Request.Form('password')))) {"
    " Session.Renew(); Session.Contents['user'] = String(Request.Form('name')); } %>"
    "<%= Session('user') === undefined ? 'nobody' : Session('user') %> <%= accounts.RetryAfter > 0 %>";

class SignInTest : public hosttest::PageTest {
 protected:
  SignInTest() {
    site.Write("site.toml", site.Read("site.toml") + "\n[users.clerk]\nrole = \"editor\"\npassword = \"" +
                                hostlinux::MakePasswordHash("öffne dich & ja") +
                                "\"\n[sign_in]\nattempts = 4\n");
    site.WritePage("in.asp", kSignIn);
  }

  Answer SignIn(const std::string& body, const std::string& cookie = "") {
    return Post("/shop/in.asp", body, "application/x-www-form-urlencoded", cookie);
  }
};

constexpr char kRight[] = "name=clerk&password=%C3%B6ffne+dich+%26+ja";

TEST_F(SignInTest, ARightPasswordGivesTheVisitorASessionOfItsOwn) {
  const std::string planted = CookieLine(Ask("<% Session.Contents['a'] = 'kept'; %>"));
  const Answer answer = SignIn(kRight, planted);
  EXPECT_EQ(answer.body, "clerk False");
  const std::string own = CookieLine(answer);
  EXPECT_NE(own, "");
  EXPECT_NE(own, planted);
  const std::string who = "<%= Session('user') %>,<%= Session('a') %>";
  EXPECT_EQ(Ask(who, "", own).body, "clerk,kept");
  EXPECT_EQ(Ask(who, "", planted).body, ",");
}

TEST_F(SignInTest, AWrongPasswordChangesNothing) {
  const std::string cookie = CookieLine(Ask("<% Session.Contents['a'] = 'kept'; %>"));
  const Answer answer = SignIn("name=clerk&password=x", cookie);
  EXPECT_EQ(answer.body, "nobody False");
  EXPECT_EQ(CookieLine(answer), "");
  EXPECT_EQ(SignIn("name=nobody&password=x").body, "nobody False");
  EXPECT_EQ(SignIn("name=demo&password=").body, "nobody False");
}

TEST_F(SignInTest, TooManyAttemptsAreHeldBackWhateverTheSession) {
  for (int i = 0; i < 4; ++i) EXPECT_EQ(SignIn("name=clerk&password=x").body, "nobody False");
  EXPECT_EQ(SignIn(kRight).body, "nobody True");
}

TEST_F(SignInTest, TheLogTellsWhoAndWhereFromButNoUnknownName) {
  SignIn(kRight);
  SignIn("name=clerk&password=x");
  SignIn("name=my-secret-word&password=x");
  const std::string log = EndedLog();
  EXPECT_THAT(log, HasSubstr("Signed in: clerk from 127.0.0.1"));
  EXPECT_THAT(log, HasSubstr("Sign-in refused: clerk from 127.0.0.1"));
  EXPECT_THAT(log, HasSubstr("Sign-in refused: an unknown name from 127.0.0.1"));
  EXPECT_THAT(log, Not(HasSubstr("my-secret-word")));
}

TEST_F(SignInTest, RolesAreAskedByName) {
  EXPECT_EQ(Output("<% var a = Server.CreateObject('host.accounts'); %><%= a.RoleOf('clerk') %>,<%= "
                   "a.RoleOf('demo') %>,<%= a.RoleOf('') %>"),
            "editor,,");
}

}  // namespace
