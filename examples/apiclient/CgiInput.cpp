#include "apiclient/CgiInput.h"

#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace KelpExample {

namespace {

constexpr size_t kBlockBytes = 65536;

struct FormType {
  const char* contentType;
  RequestForm form;
  size_t maxBytes;
};

constexpr FormType kFormTypes[] = {
    {"application/x-www-form-urlencoded", RequestForm::UrlEncoded, kMaxFormBytes},
    {"multipart/form-data", RequestForm::Multipart, kMaxUploadBytes},
    {"application/octet-stream", RequestForm::Binary, kMaxBinaryBytes},
};

std::string variable(const char* name) {
  const char* value = getenv(name);
  return value == nullptr ? "" : value;
}

// Parameters may follow, as the boundary of a multipart form does.
bool isType(const std::string& text, const char* contentType) {
  const std::string type = text.substr(0, text.find_first_of("; \t"));
  return strcasecmp(type.c_str(), contentType) == 0;
}

// A caller that does not say what it sends is taken to send a form.
const FormType* findFormType(const std::string& text) {
  if (text.empty()) {
    return &kFormTypes[0];
  }
  for (const FormType& formType : kFormTypes) {
    if (isType(text, formType.contentType)) {
      return &formType;
    }
  }
  return nullptr;
}

Fault readLength(size_t maxBytes, size_t& length) {
  const std::string text = variable("CONTENT_LENGTH");
  if (text.empty()) {
    return {411, Kelp::CommonReturnCode_InvalidProtocol, "the request has no Content-Length"};
  }
  if (text.find_first_not_of("0123456789") != std::string::npos) {
    return {400, Kelp::CommonReturnCode_InvalidProtocol, "the Content-Length is no number"};
  }
  length = strtoul(text.c_str(), nullptr, 10);  // more than fits becomes the largest number there is
  if (length > maxBytes) {
    return {413, Kelp::CommonReturnCode_NotEnoughMemory, "the request is too large"};
  }
  return {};
}

int64_t nowMs() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

bool waitForInput(int64_t deadlineMs) {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  const int64_t left = deadlineMs - nowMs();
  return left > 0 && poll(&input, 1, static_cast<int>(left)) > 0;
}

// Takes what has arrived, at most `size` bytes; `got` is never 0 without a fault.
Fault readSome(int64_t deadlineMs, char* to, size_t size, size_t& got) {
  if (!waitForInput(deadlineMs)) {
    return {408, Kelp::CommonReturnCode_InvalidProtocol, "the request did not arrive in time"};
  }
  const ssize_t count = read(STDIN_FILENO, to, size);
  if (count == 0) {
    return {400, Kelp::CommonReturnCode_InvalidProtocol, "the request is shorter than its Content-Length"};
  }
  if (count < 0) {
    return {400, Kelp::CommonReturnCode_IoError, "the request cannot be read"};
  }
  got = static_cast<size_t>(count);
  return {};
}

}  // namespace

Fault readHead(RequestHead& head) {
  if (variable("REQUEST_METHOD") != "POST") {
    return {405, Kelp::CommonReturnCode_InvalidProtocol, "send the call as a POST"};
  }
  const FormType* const formType = findFormType(variable("CONTENT_TYPE"));
  if (formType == nullptr) {
    return {415, Kelp::CommonReturnCode_NotSupported, "send the call as a form or as a binary record"};
  }
  head.form = formType->form;
  return readLength(formType->maxBytes, head.bodySize);
}

Fault readBody(const RequestHead& head, Kelp::FileOperator& file) {
  const int64_t deadlineMs = nowMs() + kBodyTimeoutMs + static_cast<int64_t>(head.bodySize) / kSlowestBytesPerMs;
  std::vector<char> block(kBlockBytes);
  for (size_t left = head.bodySize; left > 0;) {
    size_t got = 0;
    Fault fault = readSome(deadlineMs, block.data(), std::min(left, block.size()), got);
    if (fault.isSet()) {
      return fault;
    }
    if (file.write(block.data(), static_cast<int>(got)) != static_cast<int>(got)) {
      return {500, Kelp::CommonReturnCode_IoError, "the request file cannot be written"};
    }
    left -= got;
  }
  return {};
}

}  // namespace KelpExample
