#include "host-linux/web/HttpMessage.h"

#include <algorithm>

#include "host-linux/base/Ascii.h"

namespace hostlinux {

namespace {

bool IsTokenChar(char c) {
  return IsAlphanumeric(c) || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool IsControl(char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f; }

void AppendPrintable(std::string& text, std::string_view value) {
  for (const char c : value) text += IsControl(c) ? ' ' : c;
}

}  // namespace

const std::string* HeaderList::Find(std::string_view name) const {
  for (const Field& field : m_fields) {
    if (EqualsIgnoreCase(field.name, name)) return &field.value;
  }
  return nullptr;
}

std::string HeaderList::Joined(std::string_view name) const {
  std::string joined;
  bool first = true;
  for (const Field& field : m_fields) {
    if (!EqualsIgnoreCase(field.name, name)) continue;
    if (!first) joined += ", ";
    joined += field.value;
    first = false;
  }
  return joined;
}

std::size_t HeaderList::CountOf(std::string_view name) const {
  return static_cast<std::size_t>(std::count_if(m_fields.begin(), m_fields.end(), [&](const Field& field) {
    return EqualsIgnoreCase(field.name, name);
  }));
}

void HeaderList::Add(std::string name, std::string value) {
  m_fields.push_back({std::move(name), std::move(value)});
}

void HeaderList::Set(std::string name, std::string value) {
  Remove(name);
  Add(std::move(name), std::move(value));
}

void HeaderList::Remove(std::string_view name) {
  std::erase_if(m_fields, [&](const Field& field) { return EqualsIgnoreCase(field.name, name); });
}

std::string_view ReasonOf(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 201:
      return "Created";
    case 202:
      return "Accepted";
    case 204:
      return "No Content";
    case 206:
      return "Partial Content";
    case 301:
      return "Moved Permanently";
    case 302:
      return "Found";
    case 303:
      return "See Other";
    case 304:
      return "Not Modified";
    case 307:
      return "Temporary Redirect";
    case 308:
      return "Permanent Redirect";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 408:
      return "Request Timeout";
    case 409:
      return "Conflict";
    case 410:
      return "Gone";
    case 412:
      return "Precondition Failed";
    case 413:
      return "Content Too Large";
    case 414:
      return "URI Too Long";
    case 415:
      return "Unsupported Media Type";
    case 416:
      return "Range Not Satisfiable";
    case 429:
      return "Too Many Requests";
    case 431:
      return "Request Header Fields Too Large";
    case 500:
      return "Internal Server Error";
    case 501:
      return "Not Implemented";
    case 503:
      return "Service Unavailable";
    case 505:
      return "HTTP Version Not Supported";
    default:
      return "Status";
  }
}

bool IsBodiless(int status) { return status < 200 || status == 204 || status == 304; }

bool IsHeaderName(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), IsTokenChar);
}

std::string HeadText(const HttpResponse& response) {
  std::string text = "HTTP/1.1 " + std::to_string(response.status) + " ";
  AppendPrintable(text, response.reason.empty() ? ReasonOf(response.status) : response.reason);
  text += "\r\n";
  for (const HeaderList::Field& field : response.headers) {
    if (!IsHeaderName(field.name)) continue;
    text += field.name;
    text += ": ";
    AppendPrintable(text, field.value);
    text += "\r\n";
  }
  text += "\r\n";
  return text;
}

}  // namespace hostlinux
