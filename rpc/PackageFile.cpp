#include "rpc/PackageFile.h"

#include <stdio.h>
#include <string.h>

#include <limits>
#include <memory>

#include "Base64EncDec.h"
#include "SysFunc.h"
#include "rpc/MemberData.h"
#include "rpc/TextPacking.h"

namespace Kelp {

namespace {

constexpr unsigned int kGroup = 4;  // characters that Base64 decodes at a time
constexpr long long kLargestPackage = std::numeric_limits<unsigned int>::max() - kGroup;

using KelpText = std::unique_ptr<char, void (*)(void*)>;

// Room for the text and, because decoding reads whole groups, for NULs behind it; null when memory is out.
KelpText allocateText(long long size) {
  const bool isTooLarge = size > kLargestPackage;
  void* const text = isTooLarge ? nullptr : SysFunc::kelpMalloc(static_cast<unsigned int>(size) + kGroup);
  return KelpText(static_cast<char*>(text), SysFunc::kelpFree);
}

bool readWhole(const std::string& path, char* data, std::size_t size) {
  FILE* const file = fopen(path.c_str(), "re");
  if (file == nullptr) {
    return false;
  }
  const bool isRead = fread(data, 1, size, file) == size;
  fclose(file);
  return isRead;
}

}  // namespace

CommonReturnCode_t decodePackage(const std::string& source, const std::string& destination) {
  const long long size = SysFunc::kelpStat(source);
  if (size == 0) {
    return touchFile(destination);
  }
  if (size < 0) {
    return CommonReturnCode_IoError;
  }
  const KelpText text = allocateText(size);
  if (text == nullptr) {
    return CommonReturnCode_NotEnoughMemory;
  }
  if (!readWhole(source, text.get(), static_cast<std::size_t>(size))) {
    return CommonReturnCode_IoError;
  }
  char* const end = packText(text.get(), text.get() + size, text.get(), "\n\r ");
  memset(end, 0, kGroup);  // what packing left there is no part of the last group
  unsigned int decodedSize = 0;
  const CommonReturnCode_t result =
      Base64EncDec().getBase64(text.get(), static_cast<unsigned int>(end - text.get()), decodedSize);
  if (result != CommonReturnCode_Ok) {
    return result;
  }
  return writeDataFile(text.get(), decodedSize, destination);
}

}  // namespace Kelp
