// The request as the web server hands it to a CGI program: its head in environment variables, its body on standard
// input.
#ifndef KELP_EXAMPLES_APICLIENT_CGI_INPUT_H
#define KELP_EXAMPLES_APICLIENT_CGI_INPUT_H

#include <stddef.h>

#include "FileOperator.h"
#include "apiclient/Fault.h"
#include "common/RequestFile.h"

namespace KelpExample {

// A body that is larger is not even begun to be read. That of a multipart form may be kMaxUploadBytes large.
constexpr size_t kMaxFormBytes = 1u << 20u;
constexpr size_t kMaxBinaryBytes = 4096;  // more than any record has

// For the whole body to arrive: a caller that stops sending in the middle must not keep this process for ever.
constexpr int kBodyTimeoutMs = 5000;
constexpr int kSlowestBytesPerMs = 256;  // an upload has this much more time

struct RequestHead {
  RequestForm form = RequestForm::UrlEncoded;
  size_t bodySize = 0;
};

// Only the POST of a body of known length, in one of the three forms, is accepted. The form is known as soon as the
// content type was: a fault behind that is told in the same form.
Fault readHead(RequestHead& head);

// Writes the body, of which the head tells the size, into the file, which is open and empty.
Fault readBody(const RequestHead& head, Kelp::FileOperator& file);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_CGI_INPUT_H
