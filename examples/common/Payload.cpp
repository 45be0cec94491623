#include "common/Payload.h"

#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FileOperator.h"
#include "FilePathManager.h"

namespace KelpExample {

namespace {

enum PayloadForm : uint32_t { PayloadForm_Record = 1, PayloadForm_File = 2 };
constexpr char kRequestSuffix[] = "request";

std::string withForm(PayloadForm form, const std::string& rest) {
  const auto word = static_cast<uint32_t>(form);
  return std::string(reinterpret_cast<const char*>(&word), sizeof(word)) + rest;
}

std::string hex8(unsigned int number) {
  char text[9];
  snprintf(text, sizeof(text), "%08X", number);
  return text;
}

std::string payloadPathPrefix(int clientPid) {
  return Kelp::FilePathManager::getCoreTmpPath() + "/payload" + hex8(static_cast<unsigned int>(clientPid)) + "_";
}

bool isHex8(const std::string& text) {
  return text.size() == 8 && text.find_first_not_of("0123456789ABCDEF") == std::string::npos;
}

bool isPayloadPathOf(int clientPid, const std::string& path) {
  const std::string prefix = payloadPathPrefix(clientPid);
  if (path.compare(0, prefix.size(), prefix) != 0) {
    return false;
  }
  const std::string rest = path.substr(prefix.size());
  return rest == kRequestSuffix || isHex8(rest);
}

bool writePayloadFile(const std::string& path, const std::string& bytes) {
  unlink(path.c_str());  // left by a process that died with this process id
  Kelp::FileOperator file(path, false);
  if (file.open(O_WRONLY | O_CREAT | O_EXCL, 0600) != 0) {
    return false;
  }
  const auto size = static_cast<int>(bytes.size());
  if (file.write(bytes.data(), size) != size) {
    file.setFileRemovalOnObjectDeletion(true);
    return false;
  }
  return true;
}

// Whoever wrote the name could have put anything there: a link, a FIFO that blocks, a file without end.
bool isPlainFile(const Kelp::FileOperator& file) {
  struct stat status;
  return fstat(file.getFd(), &status) == 0 && S_ISREG(status.st_mode);
}

bool readPayloadFile(const std::string& path, std::string& bytes) {
  Kelp::FileOperator file(path, false);
  if (file.open(O_RDONLY | O_NOFOLLOW | O_NONBLOCK, 0) != 0) {
    return false;
  }
  file.setFileRemovalOnObjectDeletion(true);
  const long long size = file.size();
  if (!isPlainFile(file) || size > static_cast<long long>(kMaxRecordBytes)) {
    return false;
  }
  bytes.resize(static_cast<size_t>(size));
  return file.readNoTimeout(&bytes[0], static_cast<int>(size)) == size;
}

}  // namespace

std::string requestPayloadPath(int clientPid) {
  return payloadPathPrefix(clientPid) + kRequestSuffix;
}

std::string responsePayloadPath(int clientPid, unsigned int sessionId) {
  return payloadPathPrefix(clientPid) + hex8(sessionId);
}

OutgoingPayload::OutgoingPayload(const Record& record, const std::string& filePath) : m_isValid(true) {
  const std::string bytes = record.encode();
  m_bytes = withForm(PayloadForm_Record, bytes);
  if (m_bytes.size() <= kMaxMessageBytes) {
    return;
  }
  m_bytes = withForm(PayloadForm_File, filePath);
  m_isValid = bytes.size() <= kMaxRecordBytes && writePayloadFile(filePath, bytes);
  if (m_isValid) {
    m_filePath = filePath;
  }
}

OutgoingPayload::~OutgoingPayload() {
  if (!m_filePath.empty()) {
    unlink(m_filePath.c_str());
  }
}

bool OutgoingPayload::isValid() const {
  return m_isValid;
}

int OutgoingPayload::size() const {
  return static_cast<int>(m_bytes.size());
}

void OutgoingPayload::handOver() {
  m_filePath.clear();
}

bool readPayload(const void* data, int size, int clientPid, Record& record) {
  uint32_t form;
  if (size < static_cast<int>(sizeof(form))) {
    return false;
  }
  memcpy(&form, data, sizeof(form));
  const char* rest = static_cast<const char*>(data) + sizeof(form);
  const size_t restSize = static_cast<size_t>(size) - sizeof(form);
  if (form == PayloadForm_Record) {
    return Record::decode(rest, restSize, record);
  }
  const std::string path(rest, restSize);
  std::string bytes;
  if (form != PayloadForm_File || clientPid == 0 || !isPayloadPathOf(clientPid, path) ||
      !readPayloadFile(path, bytes)) {
    return false;
  }
  return Record::decode(bytes.data(), bytes.size(), record);
}

}  // namespace KelpExample
