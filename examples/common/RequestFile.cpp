#include "common/RequestFile.h"

#include <stdio.h>

#include "BinaryParser.h"
#include "FilePathManager.h"
#include "MultiPartParser.h"
#include "QueryStringParser.h"

namespace KelpExample {

std::string requestFilePath(int clientPid) {
  char name[24];
  snprintf(name, sizeof(name), "/request%08X", static_cast<unsigned int>(clientPid));
  return Kelp::FilePathManager::getCoreTmpPath() + name;
}

std::unique_ptr<Kelp::RpcParser> makeParser(RequestForm form, const std::string& path) {
  switch (form) {
    case RequestForm::UrlEncoded:
      return std::make_unique<Kelp::QueryStringParser>(path);
    case RequestForm::Multipart:
      return std::make_unique<Kelp::MultiPartParser>(path);
    case RequestForm::Binary:
      return std::make_unique<Kelp::BinaryParser>(path);
  }
  return nullptr;  // a number that came from another process
}

}  // namespace KelpExample
