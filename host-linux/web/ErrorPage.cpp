#include "host-linux/web/ErrorPage.h"

#include <algorithm>

namespace hostlinux {

namespace {

std::string_view SentenceOf(int status) {
  switch (status) {
    case 400:
      return "The server could not understand this request.";
    case 403:
      return "The server does not take this request.";
    case 404:
      return "There is nothing at this address.";
    case 405:
      return "This address does not take requests of that kind.";
    case 408:
      return "The request took too long to arrive.";
    case 412:
      return "The file is not as the request wants it.";
    case 413:
      return "The request is larger than this server takes.";
    case 414:
      return "The address is longer than this server takes.";
    case 416:
      return "The file has no such range.";
    case 429:
      return "That was too much at once. Please try again in a moment.";
    case 431:
      return "The request's headers are larger than this server takes.";
    case 500:
      return "The page could not be made. Please try again later.";
    case 501:
      return "This server does not know that kind of request.";
    case 503:
      return "The server is busy. Please try again in a moment.";
    default:
      return "The request could not be answered.";
  }
}

}  // namespace

std::string EscapeHtml(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

HttpResponse ErrorResponse(int status, std::string_view requestId, std::string_view detail,
                           std::string_view markup) {
  const std::string title = std::to_string(status) + " " + std::string(ReasonOf(status));
  std::string page = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" +
                     title +
                     "</title>\n<style>body{font:16px/1.5 sans-serif;margin:4em "
                     "auto;max-width:36em;padding:0 1em;color:#222}"
                     "h1{font-size:1.4em}small{color:#666}pre{overflow:auto;background:#f3f3f3}</style>\n</"
                     "head>\n<body>\n<h1>" +
                     title + "</h1>\n<p>" + std::string(SentenceOf(status)) + "</p>\n";
  if (!detail.empty()) page += "<p>" + EscapeHtml(detail) + "</p>\n";
  page += markup;
  if (!requestId.empty()) page += "<p><small>Request " + EscapeHtml(requestId) + "</small></p>\n";
  page += "</body>\n</html>\n";

  HttpResponse response;
  response.status = status;
  response.headers.Set("Content-Type", "text/html; charset=utf-8");
  response.headers.Set("Cache-Control", "no-store");
  response.headers.Set("X-Content-Type-Options", "nosniff");
  response.headers.Set(
      "Content-Security-Policy",
      "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; frame-ancestors 'none'");
  response.body = std::move(page);
  return response;
}

std::string SourceExcerpt(std::string_view source, int line) {
  constexpr int kAround = 5;
  std::string lines;
  bool found = false;
  int number = 1;
  for (std::size_t begin = 0; begin < source.size() && number <= line + kAround; ++number) {
    const std::size_t end = std::min(source.find('\n', begin), source.size());
    std::string_view text = source.substr(begin, end - begin);
    begin = end + 1;
    if (number < line - kAround) continue;
    if (text.ends_with('\r')) text.remove_suffix(1);
    const std::string shown = std::to_string(number) + "  " + EscapeHtml(text);
    lines += number == line ? "<b>" + shown + "</b>\n" : shown + "\n";
    found = found || number == line;
  }
  return found ? "<pre>\n" + lines + "</pre>\n" : std::string();
}

}  // namespace hostlinux
