#include <gtest/gtest.h>
#include <stdint.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>

#include "IpcData.h"
#include "common/Payload.h"

namespace KelpExample {
namespace {

constexpr int kPid = 4711;  // 00001267

bool exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string payloadBytes(uint32_t form, const std::string& rest) {
  return std::string(reinterpret_cast<const char*>(&form), sizeof(form)) + rest;
}

bool isRead(const std::string& bytes, int clientPid = kPid) {
  Record record;
  return readPayload(bytes.data(), static_cast<int>(bytes.size()), clientPid, record);
}

Record recordOfSize(size_t size) {
  Record record;
  record.putString("", std::string(size - 12, 'x'));
  EXPECT_EQ(size, record.encode().size());
  return record;
}

std::string textOf(OutgoingPayload& payload) {
  return std::string(reinterpret_cast<const char*>(&payload.data<Kelp::IpcDataRequest>()),
                     static_cast<size_t>(payload.size()));
}

TEST(PayloadTest, ARecordThatFitsTravelsInTheMessage) {
  OutgoingPayload payload(recordOfSize(4060), requestPayloadPath(kPid));
  EXPECT_TRUE(payload.isValid());
  EXPECT_EQ(4064, payload.size());
  EXPECT_FALSE(exists(requestPayloadPath(kPid)));
  EXPECT_TRUE(isRead(textOf(payload)));
}

TEST(PayloadTest, ALargerOneTravelsInAFileThatTheReaderRemoves) {
  OutgoingPayload payload(recordOfSize(4061), requestPayloadPath(kPid));
  EXPECT_TRUE(payload.isValid());
  EXPECT_EQ(payloadBytes(2, "/tmp/Kelp/payload00001267_request"), textOf(payload));
  EXPECT_TRUE(exists(requestPayloadPath(kPid)));

  Record record;
  const std::string text = textOf(payload);
  ASSERT_TRUE(readPayload(text.data(), payload.size(), kPid, record));
  EXPECT_EQ(std::string(4049, 'x'), record.items().at(0).text);
  EXPECT_FALSE(exists(requestPayloadPath(kPid)));
}

TEST(PayloadTest, TheWriterRemovesAFileThatItHasNotHandedOver) {
  { OutgoingPayload payload(recordOfSize(5000), requestPayloadPath(kPid)); }
  EXPECT_FALSE(exists(requestPayloadPath(kPid)));
  {
    OutgoingPayload payload(recordOfSize(5000), requestPayloadPath(kPid));
    payload.handOver();
  }
  EXPECT_TRUE(exists(requestPayloadPath(kPid)));
}

TEST(PayloadTest, AFileThatADeadProcessLeftIsReplaced) {
  writeFile(requestPayloadPath(kPid), "old");
  OutgoingPayload payload(recordOfSize(5000), requestPayloadPath(kPid));
  EXPECT_TRUE(payload.isValid());
  EXPECT_TRUE(isRead(textOf(payload)));
}

TEST(PayloadTest, AFileThatCannotBeWrittenMakesItInvalid) {
  OutgoingPayload payload(recordOfSize(5000), "/tmp/Kelp/no/such/directory");
  EXPECT_FALSE(payload.isValid());
  OutgoingPayload tooLarge(recordOfSize(kMaxRecordBytes + 1), requestPayloadPath(kPid));
  EXPECT_FALSE(tooLarge.isValid());
}

TEST(PayloadTest, TheAnswersFileIsNamedByClientAndSession) {
  EXPECT_EQ("/tmp/Kelp/payload00001267_0000002A", responsePayloadPath(kPid, 42));
}

TEST(PayloadTest, PayloadsWithoutAKnownFormAreRefused) {
  EXPECT_FALSE(readPayload(nullptr, 0, kPid, *std::make_unique<Record>()));
  EXPECT_FALSE(isRead("abc"));
  EXPECT_FALSE(isRead(payloadBytes(0, "")));
  EXPECT_FALSE(isRead(payloadBytes(3, "")));
  EXPECT_TRUE(isRead(payloadBytes(1, "")));
}

TEST(PayloadTest, NoFileButTheClientsOwnIsTouched) {
  const std::string victims[] = {
      "/tmp/victim",
      "/tmp/Kelp/payload00001268_request",
      "/tmp/Kelp/payload00001267_other",
      "/tmp/Kelp/payload00001267_0000000",
      "/tmp/Kelp/payload00001267_",
  };
  for (const std::string& victim : victims) {
    writeFile(victim, "");
    EXPECT_FALSE(isRead(payloadBytes(2, victim))) << victim;
    EXPECT_TRUE(exists(victim));
  }
  EXPECT_FALSE(isRead(payloadBytes(2, "/tmp/Kelp/payload00001267_/../../victim")));
  EXPECT_FALSE(isRead(payloadBytes(2, std::string("/tmp/Kelp/payload00001267_request\0x", 35))));
  EXPECT_FALSE(isRead(payloadBytes(2, "")));
  EXPECT_TRUE(exists("/tmp/victim"));
}

TEST(PayloadTest, NoFileIsAcceptedWhereNoClientTakesPart) {
  writeFile("/tmp/Kelp/payload00000000_request", "");
  EXPECT_FALSE(isRead(payloadBytes(2, "/tmp/Kelp/payload00000000_request"), 0));
  EXPECT_TRUE(exists("/tmp/Kelp/payload00000000_request"));
}

TEST(PayloadTest, AMissingFileIsRefused) {
  EXPECT_FALSE(isRead(payloadBytes(2, requestPayloadPath(kPid))));
}

TEST(PayloadTest, AFileThatHoldsNoRecordIsRefusedAndRemoved) {
  writeFile(requestPayloadPath(kPid), "no record");
  EXPECT_FALSE(isRead(payloadBytes(2, requestPayloadPath(kPid))));
  EXPECT_FALSE(exists(requestPayloadPath(kPid)));
}

TEST(PayloadTest, ALinkIsNotFollowed) {
  writeFile("/tmp/victim", "");
  ASSERT_EQ(0, symlink("/tmp/victim", requestPayloadPath(kPid).c_str()));
  EXPECT_FALSE(isRead(payloadBytes(2, requestPayloadPath(kPid))));
  EXPECT_TRUE(exists("/tmp/victim"));
}

TEST(PayloadTest, AFifoDoesNotBlockTheReader) {
  ASSERT_EQ(0, mkfifo(requestPayloadPath(kPid).c_str(), 0600));
  EXPECT_FALSE(isRead(payloadBytes(2, requestPayloadPath(kPid))));
}

TEST(PayloadTest, AFileWithoutEndIsRefused) {
  writeFile(requestPayloadPath(kPid), "");
  ASSERT_EQ(0, truncate(requestPayloadPath(kPid).c_str(), off_t{1} << 40));
  EXPECT_FALSE(isRead(payloadBytes(2, requestPayloadPath(kPid))));
}

}  // namespace
}  // namespace KelpExample
