// Requests in the three forms of the web API: put together, made at random as clients write them, and made so that
// parsers have a hard time.
#ifndef KELP_TESTS_SUPPORT_REQUEST_GENERATORS_H
#define KELP_TESTS_SUPPORT_REQUEST_GENERATORS_H

#include <stdint.h>

#include <cstddef>
#include <string>
#include <vector>

#include "support/ParsedRequest.h"
#include "support/RandomSource.h"

namespace KelpTest {

constexpr char kBase64Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// --- Query strings

// `text` as a well-behaved client writes it; characters that need no escape may have one too.
std::string urlEncoded(const std::string& text);

// Encoded text of that many characters, a fifth of which have an escape.
std::string randomUrlEncoded(RandomSource& random, std::size_t size);

std::string wellFormedQueryString(RandomSource& random, std::size_t members, uint32_t longestValue);

// Any bytes, but mostly those with a meaning, in runs now and then.
std::string hostileQueryString(RandomSource& random, std::size_t size);

// --- Multipart forms

extern const std::string kDisposition;  // up to the quotation mark in front of the name

std::string part(const std::string& name, const std::string& data);
std::string form(const std::vector<std::string>& parts, const std::string& boundary);

std::string randomBoundary(RandomSource& random);

struct WellFormedForm {
  std::string body;
  std::vector<RequestMember> members;
};

// As clients write it, here and there with headers before and behind the name, and Base64 in lines.
WellFormedForm wellFormedForm(RandomSource& random);

// Pieces of forms in any order, and bytes that mean something.
std::string scrambledForm(RandomSource& random, const std::string& boundary);

// A form with some bytes changed, lost or added.
std::string damagedForm(RandomSource& random);

// --- Binary records

std::string word(uint32_t value);  // as the record holds it
std::string updateRecord(uint32_t installId, const std::string& path);
std::string startRecord(uint32_t installId, uint32_t processId, std::string arguments, uint32_t callback);
std::string stopRecord(uint32_t installId, uint32_t processId, uint32_t callback);

std::string wellFormedRecord(RandomSource& random);

// Any code, any length, any bytes; most often a method's, and near its length.
std::string hostileRecord(RandomSource& random);

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_REQUEST_GENERATORS_H
