#include "apiclient/CgiInput.h"

#include <errno.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

namespace KelpExample {

namespace {

constexpr char kFormType[] = "application/x-www-form-urlencoded";

std::string variable(const char* name) {
  const char* value = getenv(name);
  return value == nullptr ? "" : value;
}

bool isFormType(const std::string& type) {
  return type.empty() || strncasecmp(type.c_str(), kFormType, strlen(kFormType)) == 0;
}

Fault checkHead() {
  if (variable("REQUEST_METHOD") != "POST") {
    return {405, Kelp::CommonReturnCode_InvalidProtocol, "send the call as a POST"};
  }
  if (!isFormType(variable("CONTENT_TYPE"))) {
    return {415, Kelp::CommonReturnCode_NotSupported, "send the call as application/x-www-form-urlencoded"};
  }
  return {};
}

Fault readLength(size_t& length) {
  const std::string text = variable("CONTENT_LENGTH");
  if (text.empty()) {
    return {411, Kelp::CommonReturnCode_InvalidProtocol, "the request has no Content-Length"};
  }
  if (text.find_first_not_of("0123456789") != std::string::npos) {
    return {400, Kelp::CommonReturnCode_InvalidProtocol, "the Content-Length is no number"};
  }
  length = strtoul(text.c_str(), nullptr, 10);  // more than fits becomes the largest number there is
  if (length > kMaxBodyBytes) {
    return {413, Kelp::CommonReturnCode_NotEnoughMemory, "the request is too large"};
  }
  return {};
}

int64_t nowMs() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// A caller that stops sending in the middle must not keep this process for ever.
bool waitForInput(int64_t deadlineMs) {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  const int64_t left = deadlineMs - nowMs();
  return left > 0 && poll(&input, 1, static_cast<int>(left)) > 0;
}

Fault readBytes(std::string& body) {
  const int64_t deadlineMs = nowMs() + kBodyTimeoutMs;
  size_t got = 0;
  while (got < body.size()) {
    if (!waitForInput(deadlineMs)) {
      return {408, Kelp::CommonReturnCode_InvalidProtocol, "the request did not arrive in time"};
    }
    const ssize_t count = read(STDIN_FILENO, &body[got], body.size() - got);
    if (count == 0) {
      return {400, Kelp::CommonReturnCode_InvalidProtocol, "the request is shorter than its Content-Length"};
    }
    if (count < 0) {
      return {400, Kelp::CommonReturnCode_IoError, "the request cannot be read"};
    }
    got += static_cast<size_t>(count);
  }
  return {};
}

}  // namespace

Fault readBody(std::string& body) {
  Fault fault = checkHead();
  if (fault.isSet()) {
    return fault;
  }
  size_t length = 0;
  fault = readLength(length);
  if (fault.isSet()) {
    return fault;
  }
  body.resize(length);
  return readBytes(body);
}

}  // namespace KelpExample
