#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "ApplicationInfoList.h"
#include "BinarySerializer.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/FileStatus.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"
#include "support/Vectors.h"

namespace {

using Kelp::ApplicationInfoList_t;
using Kelp::BinarySerializer;
using Kelp::CommonReturnCode_InvalidExecId;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::LogCapture;
using KelpTest::LogLine;

constexpr char kResponse[] = "/tmp/response";

static_assert(std::is_aggregate_v<ApplicationInfoList_t>, "those who fill a list do so by initialiser lists");
static_assert(!std::is_copy_constructible_v<BinarySerializer> && !std::is_copy_assignable_v<BinarySerializer>,
              "a copy would close the same descriptor");

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::string word(int value) {
  std::string bytes;
  for (unsigned int shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>(static_cast<unsigned int>(value) >> shift);
  }
  return bytes;
}

std::string field(std::string text, std::size_t size) {
  text.resize(size, '\0');
  return text;
}

std::string unusedSlots(int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i) {
    bytes += word(-1) + field("", 64);
  }
  return bytes;
}

std::string wordsOf(int count, int value) {
  std::string bytes;
  for (int i = 0; i < count; ++i) {
    bytes += word(value);
  }
  return bytes;
}

class BinarySerializerTest : public testing::Test {
 protected:
  BinarySerializerTest() { unlink(kResponse); }
};

// The response file after a list of these was put.
std::string written(int number, const std::vector<ApplicationInfoList_t>& list) {
  unlink(kResponse);
  EXPECT_EQ(BinarySerializer(kResponse).putParamForGetAppList(number, list), CommonReturnCode_Ok);
  return contentOf(kResponse);
}

std::string responseVector(const std::string& name) {
  return KelpTest::vectorOf("responses.txt", name);
}

std::string recordOf(const ApplicationInfoList_t& entry) {
  return written(0, {entry}).substr(8);
}

// --- The file

TEST_F(BinarySerializerTest, IsRegisteredWithItsType) {
  EXPECT_EQ(KelpTest::objectTypeOf(BinarySerializer(kResponse)), 3);
}

TEST_F(BinarySerializerTest, CreatesTheFileForItsOwnerAlone) {
  const mode_t mask = umask(0);
  const BinarySerializer serializer(kResponse);
  umask(mask);
  struct stat status;
  ASSERT_EQ(stat(kResponse, &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  EXPECT_EQ(serializer.getOutputFile(), kResponse);
}

TEST_F(BinarySerializerTest, FileThatIsThereKeepsItsMode) {
  close(open(kResponse, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_EQ(chmod(kResponse, 0644), 0);
  const BinarySerializer serializer(kResponse);
  EXPECT_EQ(KelpTest::modeOf(kResponse), 0644U);
}

TEST_F(BinarySerializerTest, ALinkInThePlaceOfTheFileIsFollowed) {
  constexpr char kTarget[] = "/tmp/target";
  close(open(kTarget, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_EQ(symlink(kTarget, kResponse), 0);
  EXPECT_EQ(BinarySerializer(kResponse).putParamForStartApp(), CommonReturnCode_Ok);
  EXPECT_EQ(KelpTest::statusOf(kTarget).st_size, 4);
}

TEST_F(BinarySerializerTest, OpensTheFileForWritingAlone) {
  const int fd = KelpTest::nextFreeFd();
  const BinarySerializer serializer(kResponse);
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_WRONLY);
  EXPECT_TRUE(KelpTest::isCloseOnExec(fd));
}

TEST_F(BinarySerializerTest, ClosesTheFile) {
  const int before = callCount(Call::Close);
  { const BinarySerializer serializer(kResponse); }
  EXPECT_EQ(callCount(Call::Close) - before, 1);
}

TEST_F(BinarySerializerTest, ResponseOverALongerFileLeavesItsTail) {
  std::ofstream(kResponse) << "0123456789";
  EXPECT_EQ(BinarySerializer(kResponse).putParamForStopApp(), CommonReturnCode_Ok);
  EXPECT_EQ(contentOf(kResponse), word(0) + "456789");
}

// --- Codes

TEST_F(BinarySerializerTest, CodesAreOneWord) {
  using Put = CommonReturnCode_t (BinarySerializer::*)(CommonReturnCode_t);
  for (const Put put : {&BinarySerializer::putParamForReturnCodeError, &BinarySerializer::putParamForInitAllData,
                        &BinarySerializer::putParamForUpdateApplication}) {
    unlink(kResponse);
    BinarySerializer serializer(kResponse);
    EXPECT_EQ((serializer.*put)(CommonReturnCode_InvalidExecId), CommonReturnCode_Ok);
    EXPECT_EQ(contentOf(kResponse), responseVector("fault 5"));
    EXPECT_EQ((serializer.*put)(Kelp::CommonReturnCode_InvalidApplicationPreference), CommonReturnCode_Ok);
    EXPECT_EQ((serializer.*put)(CommonReturnCode_Ok), CommonReturnCode_Ok);
    EXPECT_EQ(contentOf(kResponse), responseVector("fault 5") + responseVector("code 22") + responseVector("zero"));
  }
}

TEST_F(BinarySerializerTest, StartAndStopAreAnsweredByAZero) {
  BinarySerializer serializer(kResponse);
  EXPECT_EQ(serializer.putParamForStartApp(), CommonReturnCode_Ok);
  EXPECT_EQ(contentOf(kResponse), responseVector("zero"));
  EXPECT_EQ(serializer.putParamForStopApp(), CommonReturnCode_Ok);
  EXPECT_EQ(contentOf(kResponse), responseVector("zero") + responseVector("zero"));
}

TEST_F(BinarySerializerTest, BytesAreWrittenAsTheyAre) {
  BinarySerializer serializer(kResponse);
  std::string bytes("a\0b", 3);
  EXPECT_EQ(serializer.writeParam(bytes.data(), 3), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.writeParam(bytes.data(), 0), CommonReturnCode_Ok);
  EXPECT_EQ(contentOf(kResponse), bytes);
}

// --- The list

TEST_F(BinarySerializerTest, EmptyListIsItsHeader) {
  EXPECT_EQ(written(-2, {}), responseVector("empty list of the number -2"));
}

TEST_F(BinarySerializerTest, NumberIsWrittenAsItIsWhateverTheListsLength) {
  const std::string response = written(77, std::vector<ApplicationInfoList_t>(3));
  EXPECT_EQ(response.substr(0, 8), word(0) + word(77));
  EXPECT_EQ(response.size(), 8U + 3U * 4416U);
}

TEST_F(BinarySerializerTest, RecordHasAllValuesAtTheirPlaces) {
  EXPECT_EQ(written(1, {{7, 2, "1.0", {0, 0, 0, 0}, {}, {}}}), responseVector("list of one"));
  const ApplicationInfoList_t first = {
      -1, 0x01020304, "version", {1, 2, 3, -4}, {{5, 6}, {7, 8}}, {{9, "nine"}, {10, ""}}};
  ApplicationInfoList_t second = {INT_MIN, INT_MAX, "12345678", {INT_MAX, INT_MIN, 256, 65536}, {}, {}};
  second.pairs = {{0, 0}, {1, 1}, {2, 2}, {3, 3}};
  second.slots.resize(64, {11, std::string(64, 'y')});
  EXPECT_EQ(written(77, {first, second}), responseVector("list of two"));
}

TEST_F(BinarySerializerTest, RecordsStandInTheListsOrder) {
  const std::string response = written(2, {{1, 0, "", {}, {}, {}}, {2, 0, "", {}, {}, {}}});
  EXPECT_EQ(response.substr(8, 4), word(1));
  EXPECT_EQ(response.substr(8 + 4416, 4), word(2));
}

TEST_F(BinarySerializerTest, TextOf8BytesOrMoreIsCutWithoutATerminator) {
  EXPECT_EQ(recordOf({0, 0, "1234567", {}, {}, {}}).substr(8, 8), field("1234567", 8));
  EXPECT_EQ(recordOf({0, 0, "12345678", {}, {}, {}}).substr(8, 8), "12345678");
  EXPECT_EQ(recordOf({0, 0, "123456789A", {}, {}, {}}).substr(8, 12), "12345678" + word(0));
}

TEST_F(BinarySerializerTest, TextsEndAtANul) {
  const std::string text("a\0b", 3);
  const std::string record = recordOf({0, 0, text, {}, {}, {{1, text}}});
  EXPECT_EQ(record.substr(8, 8), field("a", 8));
  EXPECT_EQ(record.substr(68, 64), field("a", 64));
}

TEST_F(BinarySerializerTest, FourPairsAreWrittenOfSix) {
  const std::string record = recordOf({0, 0, "", {}, {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}}, {}});
  EXPECT_EQ(record.substr(32, 32), wordsOf(2, 1) + wordsOf(2, 2) + wordsOf(2, 3) + wordsOf(2, 4));
  EXPECT_EQ(record.substr(64), unusedSlots(64));
}

TEST_F(BinarySerializerTest, SixtyFourSlotsAreWrittenOfSeventy) {
  ApplicationInfoList_t entry = {};
  std::string slots;
  for (int i = 0; i < 70; ++i) {
    entry.slots.emplace_back(i, "slot " + std::to_string(i));
    slots += i < 64 ? word(i) + field("slot " + std::to_string(i), 64) : "";
  }
  const std::string response = written(1, {entry, entry});
  EXPECT_EQ(response.size(), 8U + 2U * 4416U);
  EXPECT_EQ(response.substr(8 + 64, 4352), slots);
  EXPECT_EQ(response.substr(8 + 4416 + 64), slots);
}

TEST_F(BinarySerializerTest, SlotsTextOf64BytesOrMoreIsCutWithoutATerminator) {
  const std::string record = recordOf({0, 0, "", {}, {}, {{1, std::string(65, 'x')}, {2, std::string(64, 'y')}}});
  EXPECT_EQ(record.substr(64, 136), word(1) + std::string(64, 'x') + word(2) + std::string(64, 'y'));
}

TEST_F(BinarySerializerTest, EachRecordIsOneWrite) {
  BinarySerializer serializer(kResponse);
  const int before = callCount(Call::Write);
  EXPECT_EQ(serializer.putParamForGetAppList(1, std::vector<ApplicationInfoList_t>(3)), CommonReturnCode_Ok);
  EXPECT_EQ(callCount(Call::Write) - before, 4);
}

// A second opinion: the record laid out field by field from random entries.
std::string laidOut(const ApplicationInfoList_t& entry) {
  std::string record = word(entry.firstWord) + word(entry.secondWord) + field(entry.text, 8);
  for (const int value : entry.words) {
    record += word(value);
  }
  for (const auto& [first, second] : entry.pairs) {
    record += word(first) + word(second);
  }
  record.resize(std::min<std::size_t>(record.size(), 64));
  record.resize(64, '\xFF');
  for (const auto& [value, text] : entry.slots) {
    record += word(value) + field(text, 64);
  }
  record.resize(std::min<std::size_t>(record.size(), 4416));
  while (record.size() < 4416) {
    record += unusedSlots(1);
  }
  return record;
}

TEST_F(BinarySerializerTest, RandomEntriesAreWrittenFieldByField) {
  std::mt19937 random(1);
  const auto number = [&] { return static_cast<int>(random()); };
  const auto text = [&](std::size_t most) {
    return std::string(random() % (most + 1), static_cast<char>('a' + random() % 26));
  };
  for (int i = 0; i < 2000; ++i) {
    ApplicationInfoList_t entry = {number(), number(), text(12), {number(), number(), number(), number()}, {}, {}};
    for (std::size_t count = random() % 7; count > 0; --count) {
      entry.pairs.emplace_back(number(), number());
    }
    for (std::size_t count = random() % 80; count > 0; --count) {
      entry.slots.emplace_back(number(), text(70));
    }
    ASSERT_EQ(recordOf(entry), laidOut(entry));
  }
}

// --- Failures

void expectEveryPutFails(BinarySerializer& serializer) {
  char byte = 'x';
  EXPECT_EQ(serializer.writeParam(&byte, 1), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.writeParam(&byte, 0), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.putParamForReturnCodeError(CommonReturnCode_Ok), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.putParamForInitAllData(CommonReturnCode_Ok), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.putParamForUpdateApplication(CommonReturnCode_Ok), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.putParamForStartApp(), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.putParamForStopApp(), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.putParamForGetAppList(0, {}), CommonReturnCode_IoError);
  EXPECT_EQ(serializer.doSerialize(), CommonReturnCode_Ok);
}

TEST_F(BinarySerializerTest, FileThatCannotBeOpenedMakesEveryPutAnIoError) {
  const LogCapture log;
  BinarySerializer serializer("/tmp/missing/response");
  EXPECT_EQ(log.lines(), std::vector<LogLine>{KelpTest::errorLine("FileOperator.cpp", 0, "open",
                                                                  "###ERROR### open() returns error(errno=2).\n")});
  const int before = callCount(Call::Write);
  EXPECT_EQ(serializer.putParamForStopApp(), CommonReturnCode_IoError);
  EXPECT_EQ(callCount(Call::Write) - before, 1);  // attempted all the same
  expectEveryPutFails(serializer);
  EXPECT_EQ(log.errors().size(), 1U);
}

TEST_F(BinarySerializerTest, FileThatCannotBeOpenedIsAnErrorBeforeAnythingIsWritten) {
  BinarySerializer serializer("/tmp/missing/response");
  char byte = 'x';
  EXPECT_EQ(serializer.writeParam(&byte, 0), CommonReturnCode_IoError);
}

TEST_F(BinarySerializerTest, FailedWriteMakesEveryLaterPutAnIoError) {
  BinarySerializer serializer(kResponse);
  {
    const CallFault fault(Call::Write, ENOSPC);
    EXPECT_EQ(serializer.putParamForStopApp(), CommonReturnCode_IoError);
    EXPECT_EQ(fault.hits(), 1);
  }
  expectEveryPutFails(serializer);
}

TEST_F(BinarySerializerTest, FullDiskIsAnIoError) {
  BinarySerializer serializer("/dev/full");
  EXPECT_EQ(serializer.putParamForStopApp(), CommonReturnCode_IoError);
  expectEveryPutFails(serializer);
}

TEST_F(BinarySerializerTest, NoRecordIsWrittenBehindAFailedHeader) {
  BinarySerializer serializer(kResponse);
  const CallFault fault(Call::Write, ENOSPC);
  EXPECT_EQ(serializer.putParamForGetAppList(1, std::vector<ApplicationInfoList_t>(2)), CommonReturnCode_IoError);
  EXPECT_EQ(contentOf(kResponse), "");
}

TEST_F(BinarySerializerTest, HeaderAloneIsWrittenOnceSomethingHasFailed) {
  BinarySerializer serializer(kResponse);
  {
    const CallFault fault(Call::Write, ENOSPC);
    EXPECT_EQ(serializer.putParamForStopApp(), CommonReturnCode_IoError);
  }
  EXPECT_EQ(serializer.putParamForGetAppList(1, std::vector<ApplicationInfoList_t>(2)), CommonReturnCode_IoError);
  EXPECT_EQ(contentOf(kResponse), word(0) + word(1));
}

TEST_F(BinarySerializerTest, NoRecordIsWrittenBehindAFailedOne) {
  BinarySerializer serializer(kResponse);
  const CallFault fault(Call::Write, ENOSPC, 2);
  EXPECT_EQ(serializer.putParamForGetAppList(3, std::vector<ApplicationInfoList_t>(3)), CommonReturnCode_IoError);
  EXPECT_EQ(contentOf(kResponse).size(), 8U + 4416U);
}

// --- Named values

TEST_F(BinarySerializerTest, NamedValuesAndContainersDoNothing) {
  BinarySerializer serializer(kResponse);
  int number = 1;
  unsigned long long large = 1;
  unsigned int size = 1;
  char byte = 'x';
  EXPECT_EQ(serializer.beginArray("a"), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.endArray(), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.endArray(), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.beginStruct("s"), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.endStruct(), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.putDecimal("d", number), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.putDecimal("d", large), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.putHexadecimal("h", number), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.putHexadecimal("h", large), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.putStringData("s", "text"), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.putBinaryData("b", "/tmp/missing"), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.putBinaryData("b", &byte, size), CommonReturnCode_Ok);
  EXPECT_EQ(serializer.doSerialize(), CommonReturnCode_Ok);
  EXPECT_EQ(contentOf(kResponse), "");
  EXPECT_EQ(serializer.putParamForStopApp(), CommonReturnCode_Ok);
}

}  // namespace
