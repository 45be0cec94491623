// The request as the web server hands it to a CGI program: its head in environment variables, its body on standard
// input.
#ifndef KELP_EXAMPLES_APICLIENT_CGI_INPUT_H
#define KELP_EXAMPLES_APICLIENT_CGI_INPUT_H

#include <stddef.h>

#include <string>

#include "apiclient/Fault.h"

namespace KelpExample {

constexpr size_t kMaxBodyBytes = 1u << 20u;
constexpr int kBodyTimeoutMs = 5000;  // for the whole body to arrive

// Reads as many bytes as CONTENT_LENGTH says. Only the POST of a URL-encoded form is accepted.
Fault readBody(std::string& body);

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APICLIENT_CGI_INPUT_H
