#include "host-linux/web/ErrorPage.h"

namespace hostlinux {

namespace {

std::string_view SentenceOf(int status) {
  switch (status) {
    case 400:
      return "The server could not understand this request.";
    case 404:
      return "There is nothing at this address.";
    case 405:
      return "This address does not take requests of that kind.";
    case 408:
      return "The request took too long to arrive.";
    case 413:
      return "The request is larger than this server takes.";
    case 416:
      return "The file has no such range.";
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
                           std::string_view excerpt) {
  const std::string title = std::to_string(status) + " " + std::string(ReasonOf(status));
  std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" + title +
      "</title>\n<style>body{font:16px/1.5 sans-serif;margin:4em "
      "auto;max-width:36em;padding:0 1em;color:#222}"
      "h1{font-size:1.4em}small{color:#666}pre{overflow-x:auto}</style>\n</head>\n<body>\n<h1>" +
      title + "</h1>\n<p>" + std::string(SentenceOf(status)) + "</p>\n";
  if (!detail.empty()) page += "<p>" + EscapeHtml(detail) + "</p>\n";
  if (!excerpt.empty()) page += "<pre>" + EscapeHtml(excerpt) + "</pre>\n";
  if (!requestId.empty()) page += "<p><small>Request " + EscapeHtml(requestId) + "</small></p>\n";
  page += "</body>\n</html>\n";

  HttpResponse response;
  response.status = status;
  response.headers.Set("Content-Type", "text/html; charset=utf-8");
  response.headers.Set("Cache-Control", "no-store");
  response.headers.Set("X-Content-Type-Options", "nosniff");
  response.body = std::move(page);
  return response;
}

}  // namespace hostlinux
