#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "FileOperator.h"
#include "rpc/RequestMapping.h"
#include "support/CallFaults.h"
#include "support/TextFile.h"

namespace {

using Kelp::FileOperator;
using Kelp::MappingUse;
using Kelp::mapRequest;
using KelpTest::Call;
using KelpTest::CallFault;
using KelpTest::writeText;

constexpr char kPath[] = "/tmp/request";
constexpr long long kLargest = sizeof(long) == 4 ? 0x7FFFFFFFLL : 0xFFFFFFFFLL;

// Whether it comes to mapping the file. No file is mapped: the processor's memory may not have the room.
bool isToBeMapped(long long size) {
  writeText(kPath, "a=1");
  EXPECT_EQ(truncate(kPath, size), 0);
  FileOperator file(kPath, false);
  const CallFault fault(Call::Mmap, ENOMEM);
  char dummy = '\0';
  char* buffer = &dummy;
  unsigned int mappedSize = 1;
  EXPECT_FALSE(mapRequest(file, MappingUse::Front, buffer, mappedSize));
  EXPECT_EQ(buffer, nullptr);
  EXPECT_EQ(mappedSize, 0U);
  return fault.hits() == 1;
}

TEST(RequestMappingTest, MapsFilesWhoseOffsetsFitALongAndSizesAnUnsignedInt) {
  EXPECT_TRUE(isToBeMapped(3));
  EXPECT_TRUE(isToBeMapped(0x7FFFFFFF));
  EXPECT_TRUE(isToBeMapped(kLargest));
  EXPECT_FALSE(isToBeMapped(kLargest + 1));
  EXPECT_FALSE(isToBeMapped(0x100000000LL));
  EXPECT_FALSE(isToBeMapped(0x100000003LL));
  EXPECT_FALSE(isToBeMapped(0x200000003LL));
}

}  // namespace
