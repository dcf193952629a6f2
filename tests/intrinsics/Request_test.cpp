#include "host-linux/intrinsics/Request.h"

#include <gtest/gtest.h>

#include <ctime>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/Convert.h"

namespace {

using namespace hostlinux;
using hostfake::NumberOf;
using varnel::Long;
using varnel::String;
using varnel::Variant;

std::shared_ptr<Request> MakeRequest(const std::string& query, const std::string& body = "",
                                     const std::string& type = "application/x-www-form-urlencoded",
                                     const std::vector<HeaderList::Field>& headers = {}, Long lcid = 1033) {
  HttpRequest http;
  http.method = body.empty() ? "GET" : "POST";
  http.path = "/shop/list.asp";
  http.rawQuery = query;
  http.version = "HTTP/1.1";
  http.body = body;
  http.remoteAddress = "192.0.2.7";
  http.serverName = "shop.example";
  http.serverPort = 8080;
  if (!body.empty()) http.headers.Add("Content-Type", type);
  for (const auto& header : headers) http.headers.Add(header.name, header.value);
  auto page = std::make_shared<PageRequest>();
  EXPECT_EQ(ReadPageRequest(std::move(http), {}, *page), "");
  return std::make_shared<Request>(page, [lcid] { return lcid; });
}

// A posted form whose visitor is German.
std::shared_ptr<Request> MakeGermanForm(const std::string& body) {
  return MakeRequest("", body, "application/x-www-form-urlencoded", {}, 1031);
}

// `collection(key)` as a script takes its value: through the default members.
Variant ValueOf(varnel::Object& collection, const Variant& key) {
  Variant arguments[] = {key};
  const Variant value = collection.CallDefault(arguments);
  return varnel::CastObject<RequestValue>(value)->CallDefault({});
}

std::vector<String> Walked(varnel::Object& object) {
  std::vector<String> items;
  const auto walk = object.Enumerate();
  for (Variant item; walk->Next(item);) items.push_back(*item.As<String>());
  return items;
}

TEST(Request, QueryGivesValuesByKeyInAnyCaseAndByPosition) {
  const auto request = MakeRequest("R_1=p+1&b=%E2%82%AC");
  EXPECT_EQ(ValueOf(*request->QueryObject(), u"r_1"), Variant(u"p 1"));
  EXPECT_EQ(ValueOf(*request->QueryObject(), Long{2}), Variant(u"\u20AC"));
  EXPECT_EQ(request->QueryString().Value(u"R_1"), Variant(u"p 1"));
  EXPECT_EQ(request->QueryString().Count(), 2);
  EXPECT_EQ(request->QueryString().Key(1), u"R_1");
  EXPECT_EQ(request->QueryString().ValueAt(2), u"\u20AC");
}

TEST(Request, HeadersTogetherTakeNoMoreTimeThanOneByOne) {
  std::vector<HeaderList::Field> headers;
  headers.reserve(100'001);
  for (int i = 0; i < 100'000; ++i) headers.push_back({"X-" + std::to_string(i), "1"});
  headers.push_back({"x-7", "2"});
  const auto request = MakeRequest("", "", "", headers);
  // Of the processor's, which other processes don't lengthen.
  const std::clock_t begun = std::clock();
  EXPECT_EQ(ValueOf(*request->ServerVariablesObject(), u"HTTP_X_7"), Variant(u"1, 2"));
  EXPECT_LT((std::clock() - begun) / CLOCKS_PER_SEC, 15);
}

TEST(Request, RepeatedParameterIsOneWhoseValuesAreJoined) {
  const auto request = MakeRequest("a=1&b=x&A=2&a=");
  EXPECT_EQ(request->QueryString().Count(), 2);
  EXPECT_EQ(request->QueryString().Value(u"a"), Variant(u"1, 2, "));
  EXPECT_EQ(request->QueryString().ValueCount(u"a"), 3);
  const auto value = varnel::CastObject<RequestValue>(request->QueryObject()->Item(u"a"));
  EXPECT_EQ(value->Count(), 3);
  EXPECT_EQ(value->Item(Long{2}), Variant(u"2"));
  EXPECT_EQ(Walked(*value), (std::vector<String>{u"1", u"2", u""}));
  EXPECT_EQ(NumberOf([&] { value->Item(Long{4}); }), 9);
  EXPECT_EQ(NumberOf([&] { value->Item(Long{0}); }), 9);
}

TEST(Request, MissingKeyIsEmptyWithoutValues) {
  const auto request = MakeRequest("a=1");
  EXPECT_EQ(request->QueryString().Value(u"b"), Variant());
  EXPECT_EQ(request->QueryString().ValueCount(u"b"), 0);
  const auto value = varnel::CastObject<RequestValue>(request->QueryObject()->Item(u"b"));
  EXPECT_EQ(value->Count(), 0);
  EXPECT_EQ(value->CallDefault({}), Variant());
}

TEST(Request, PositionOutsideIsAnError) {
  const auto request = MakeRequest("a=1");
  EXPECT_EQ(NumberOf([&] { request->QueryObject()->Item(Long{0}); }), 9);
  EXPECT_EQ(NumberOf([&] { request->QueryObject()->Item(2.0); }), 9);
  EXPECT_EQ(NumberOf([&] { request->QueryString().Key(2); }), 9);
}

TEST(Request, NumberAsTextIsAKey) {
  const auto request = MakeRequest("a=1&1=x");
  EXPECT_EQ(ValueOf(*request->QueryObject(), u"1"), Variant(u"x"));
}

TEST(Request, CollectionAsAValueIsItsRawText) {
  EXPECT_EQ(MakeRequest("a=%41&b")->QueryObject()->CallDefault({}), Variant(u"a=%41&b"));
  EXPECT_EQ(MakeRequest("", "c=%42")->FormObject()->CallDefault({}), Variant(u"c=%42"));
}

TEST(Request, ForEachWalksTheKeys) {
  EXPECT_EQ(Walked(*MakeRequest("b=1&a=2&B=3")->QueryObject()), (std::vector<String>{u"b", u"a"}));
}

TEST(Request, FormIsReadFromAUrlEncodedBody) {
  const auto request =
      MakeRequest("", "R_14.x=5&R_14d=abc", "application/X-WWW-form-urlencoded; charset=utf-8");
  EXPECT_EQ(request->Form().ValueCount(u"R_14.x"), 1);
  EXPECT_EQ(request->Form().Value(u"R_14d"), Variant(u"abc"));
}

TEST(Request, MultipartBodyIsNoFormAndBinaryReadTakesItWhole) {
  const std::string body = "--x\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n%zz\r\n--x--";
  const auto request = MakeRequest("", body, "multipart/form-data; boundary=x");
  EXPECT_EQ(request->TotalBytes(), static_cast<Long>(body.size()));
  const varnel::Bytes bytes = request->BinaryRead(request->TotalBytes());
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), body);
  EXPECT_EQ(request->Form().Count(), 0);
  EXPECT_EQ(request->ServerVariables().Value(u"HTTP_CONTENT_TYPE"),
            Variant(u"multipart/form-data; boundary=x"));
}

TEST(Request, BinaryReadGoesOnWhereItStopped) {
  const auto request = MakeRequest("", "abcdef", "text/plain");
  EXPECT_EQ(request->BinaryRead(4), (varnel::Bytes{'a', 'b', 'c', 'd'}));
  EXPECT_EQ(request->BinaryRead(100), (varnel::Bytes{'e', 'f'}));
  EXPECT_TRUE(request->BinaryRead(1).empty());
  EXPECT_EQ(NumberOf([&] { request->BinaryRead(-1); }), 5);
  EXPECT_EQ(request->TotalBytes(), 6);
}

TEST(Request, ScriptGetsAByteArray) {
  const auto request = MakeRequest("", "ab", "text/plain");
  const Variant bytes = request->CallWith(u"binaryread", Long{2});
  EXPECT_EQ(**bytes.As<varnel::BytesPtr>(), (varnel::Bytes{'a', 'b'}));
}

TEST(Request, FormThatBinaryReadTookCannotBeAskedFor) {
  const auto request = MakeRequest("a=1", "b=2");
  request->BinaryRead(1);
  EXPECT_EQ(NumberOf([&] { request->Form(); }), 5);
  EXPECT_EQ(request->Item(u"b"), Variant());
  EXPECT_EQ(request->Item(u"URL"), Variant(u"/shop/list.asp"));
}

TEST(Request, ItemLooksThroughQueryFormCookiesAndServerVariablesInThatOrder) {
  const auto request = MakeRequest("a=query", "a=form&b=form", "application/x-www-form-urlencoded",
                                   {{"Cookie", "a=cookie; b=cookie; c=cookie; URL=cookie"}});
  EXPECT_EQ(request->Item(u"A"), Variant(u"query"));
  EXPECT_EQ(request->Item(u"b"), Variant(u"form"));
  EXPECT_EQ(request->Item(u"c"), Variant(u"cookie"));
  EXPECT_EQ(request->Item(u"REQUEST_METHOD"), Variant(u"POST"));
  EXPECT_EQ(request->Item(u"none"), Variant());
  EXPECT_EQ(ValueOf(*request, u"b"), Variant(u"form"));
  EXPECT_EQ(ValueOf(*request, u"none"), Variant());
}

TEST(Request, EmptyValueIsFoundBeforeLaterPlaces) {
  EXPECT_EQ(MakeRequest("a=", "a=form")->Item(u"a"), Variant(u""));
}

TEST(Request, ServerVariablesTellOfTheRequest) {
  const auto request =
      MakeRequest("q=%41", "x=1", "application/x-www-form-urlencoded",
                  {{"User-Agent", "test"}, {"Accept", "a"}, {"accept", "b"}, {"X_Sly", "no"}});
  const auto& variables = request->ServerVariables();
  EXPECT_EQ(variables.Value(u"url"), Variant(u"/shop/list.asp"));
  EXPECT_EQ(variables.Value(u"SCRIPT_NAME"), Variant(u"/shop/list.asp"));
  EXPECT_EQ(variables.Value(u"QUERY_STRING"), Variant(u"q=%41"));
  EXPECT_EQ(variables.Value(u"CONTENT_TYPE"), Variant(u"application/x-www-form-urlencoded"));
  EXPECT_EQ(variables.Value(u"CONTENT_LENGTH"), Variant(u"3"));
  EXPECT_EQ(variables.Value(u"REMOTE_ADDR"), Variant(u"192.0.2.7"));
  EXPECT_EQ(variables.Value(u"SERVER_NAME"), Variant(u"shop.example"));
  EXPECT_EQ(variables.Value(u"SERVER_PORT"), Variant(u"8080"));
  EXPECT_EQ(variables.Value(u"HTTPS"), Variant(u"off"));
  EXPECT_EQ(variables.Value(u"HTTP_USER_AGENT"), Variant(u"test"));
  EXPECT_EQ(variables.Value(u"HTTP_ACCEPT"), Variant(u"a, b"));
  EXPECT_EQ(variables.Value(u"HTTP_X_SLY"), Variant());
}

TEST(Request, GivenServerVariablesReplaceTheRequestsOwn) {
  PageRequest page;
  page.http.remoteAddress = "192.0.2.7";
  page.serverVariables = {{"remote_addr", "198.51.100.1"}, {"LOGON_USER", "demo"}};
  const Request request(std::make_shared<PageRequest>(page));
  auto& variables = const_cast<Request&>(request).ServerVariables();
  EXPECT_EQ(variables.Value(u"REMOTE_ADDR"), Variant(u"198.51.100.1"));
  EXPECT_EQ(variables.Value(u"LOGON_USER"), Variant(u"demo"));
}

TEST(PageRequest, RefusedNamesAreFoundInAnyCaseInQueryAndForm) {
  const std::vector<std::string> refused = {"URL"};
  const auto problem = [&](const std::string& query, const std::string& body) {
    HttpRequest http;
    http.rawQuery = query;
    http.body = body;
    http.headers.Add("Content-Type", "application/x-www-form-urlencoded");
    PageRequest page;
    return ReadPageRequest(std::move(http), refused, page);
  };
  EXPECT_EQ(problem("a=1&url=x", ""), "A parameter may not be named \"url\" here.");
  EXPECT_EQ(problem("%55RL=x", ""), "A parameter may not be named \"URL\" here.");
  EXPECT_EQ(problem("", "Url"), "A parameter may not be named \"Url\" here.");
  EXPECT_EQ(problem("URLS=1&a=URL", "b=URL"), "");
}

TEST(PageRequest, BadEscapeIsAProblemOnlyWhereItIsRead) {
  HttpRequest http;
  http.body = "a=%zz";
  http.headers.Add("Content-Type", "text/plain");
  PageRequest page;
  EXPECT_EQ(ReadPageRequest(http, {}, page), "");
  http.headers.Set("Content-Type", "application/x-www-form-urlencoded");
  EXPECT_NE(ReadPageRequest(http, {}, page), "");
  http.rawQuery = "%";
  http.body = "";
  EXPECT_NE(ReadPageRequest(http, {}, page), "");
}

// --- Values of one parameter

TEST(Request, TextIsThatOfTheQueryElseOfTheForm) {
  const auto request = MakeRequest("a=1&a=2&both=query", "f=3&both=form");
  EXPECT_EQ(request->Text(u"A", u""), u"1, 2");
  EXPECT_EQ(request->Text(u"f", u""), u"3");
  EXPECT_EQ(request->Text(u"both", u""), u"query");
}

TEST(Request, TextOfAMissingParameterIsTheOtherOne) {
  const auto request = MakeRequest("empty=", "", "", {{"Cookie", "c=1"}});
  EXPECT_EQ(request->Text(u"none", u"x"), u"x");
  EXPECT_EQ(request->Text(u"empty", u"x"), u"");
  EXPECT_EQ(request->Text(u"c", u"x"), u"x");
  EXPECT_EQ(request->Text(u"URL", u"x"), u"x");
}

TEST(Request, TextPassesOverAFormThatWasReadAsBytes) {
  const auto request = MakeRequest("", "f=3");
  request->BinaryRead(3);
  EXPECT_EQ(request->Text(u"f", u"x"), u"x");
}

TEST(Request, NumberIsReadByTheVisitorsLocale) {
  const auto request = MakeGermanForm("price=1.234%2C5&english=12.34&none=&word=a");
  EXPECT_EQ(request->Number(u"price"), Variant(1234.5));
  EXPECT_EQ(request->Number(u"english"), Variant(varnel::Null()));
  EXPECT_EQ(request->Number(u"none"), Variant(varnel::Null()));
  EXPECT_EQ(request->Number(u"word"), Variant(varnel::Null()));
  EXPECT_EQ(request->Number(u"missing"), Variant(varnel::Null()));
  EXPECT_EQ(MakeRequest("price=12.34")->Number(u"price"), Variant(12.34));
}

TEST(Request, NumberOfAParameterThatOccursTwiceIsNone) {
  EXPECT_EQ(MakeRequest("a=1&a=234")->Number(u"a"), Variant(varnel::Null()));
  EXPECT_EQ(MakeGermanForm("a=1&a=2")->Number(u"a"), Variant(varnel::Null()));
}

TEST(Request, DateIsReadByTheVisitorsLocale) {
  const varnel::Date day = varnel::MakeDate({2024, 3, 5, 0, 0, 0});
  EXPECT_EQ(MakeGermanForm("day=5.3.2024")->Day(u"day"), Variant(day));
  EXPECT_EQ(MakeGermanForm("day=2024-03-05")->Day(u"day"), Variant(day));
  EXPECT_EQ(MakeRequest("day=3%2F5%2F2024")->Day(u"day"), Variant(day));
  EXPECT_EQ(MakeRequest("day=5.3.2024")->Day(u"day"), Variant(varnel::Null()));
  EXPECT_EQ(MakeRequest("")->Day(u"day"), Variant(varnel::Null()));
}

TEST(Request, ALocaleThatIsNotKnownIsTheUsers) {
  const auto request = MakeRequest("a=1.5", "", "", {}, 99999);
  EXPECT_EQ(request->Number(u"a"), Variant(1.5));
}

}  // namespace
