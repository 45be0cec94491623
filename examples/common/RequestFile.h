// The body of a web API call as a file: where it is, in which form it is written, and who can read it. It holds all
// that the caller sent, which may be a package of several MiB: it is never copied into a message.
#ifndef KELP_EXAMPLES_COMMON_REQUEST_FILE_H
#define KELP_EXAMPLES_COMMON_REQUEST_FILE_H

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>

#include "RpcParser.h"

namespace KelpExample {

enum class RequestForm : int32_t {
  UrlEncoded = 0,  // application/x-www-form-urlencoded
  Multipart = 1,   // multipart/form-data
  Binary = 2,      // application/octet-stream: one of the fixed binary records
};

constexpr size_t kMaxUploadBytes = 16u << 20u;  // of a body that carries a package, and of a package file

// Where the API client of this process id keeps the body of its call. The core takes the file over by renaming it.
std::string requestFilePath(int clientPid);

// Parses the file as the form wants it; a file that is not of that form has no members. Null when there is no such
// form.
std::unique_ptr<Kelp::RpcParser> makeParser(RequestForm form, const std::string& path);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_REQUEST_FILE_H
