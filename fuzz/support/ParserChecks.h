// What holds for every getter of a parser, given what a request is known to hold. They are asked through the decoder,
// as request handlers do: of its operations that give the same, each asks another one.
#ifndef KELP_FUZZ_PARSER_CHECKS_H
#define KELP_FUZZ_PARSER_CHECKS_H

#include <string>
#include <vector>

#include "RequestDecoder.h"
#include "SysFunc.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Platform.h"
#include "support/Base64Reference.h"
#include "support/ParsedRequest.h"

namespace KelpFuzz {

constexpr unsigned int kNoMember = 0xFFFFFFFF;
constexpr int kUntouched = -12345;

// What the number getters are to make of a text.
int decimalOf(const std::string& text);
int hexadecimalOf(const std::string& text);  // kUntouched when there is no digit

// A name that no member has.
std::string absentName(const std::vector<KelpTest::RequestMember>& members);

// The members that answer for their names, no more than a handful: a request of thousands of names is not asked for
// each of them.
std::vector<KelpTest::RequestMember> membersToAsk(const std::vector<KelpTest::RequestMember>& members);

// Every getter answers "Invalid Protocol" (10) and gives nothing.
void checkNothingIsGiven(Kelp::RequestDecoder& decoder, const std::string& name);

// The request's method: none where nothing has been parsed.
void checkApi(Kelp::RequestDecoder& decoder, const std::vector<KelpTest::RequestMember>& members);

// Numbers and text of a member. `isEmptyMissing`: the parser takes an empty member for a missing one.
void checkNumbersAndText(Kelp::RequestDecoder& decoder, const KelpTest::RequestMember& member, bool isEmptyMissing);

// The result, and the data that was given with "OK". `outputPath`: to that file, which did not exist before. `turn`:
// any number, by which one of the two operations is chosen.
KelpTest::Decoding dataToMemory(Kelp::RequestDecoder& decoder, const std::string& name);
KelpTest::Decoding dataToFile(Kelp::RequestDecoder& decoder, const std::string& name, const std::string& outputPath,
                              size_t turn);

// A member's place, and its value as getMember() copies it.
template <typename Parser>
void checkPlace(const Parser& parser, const KelpTest::RequestMember& member) {
  long offset = -1;
  FUZZ_CHECK_EQ(parser.getMemberInfo(member.name, offset), member.value.size());
  FUZZ_CHECK_EQ(offset, static_cast<long>(member.offset));
  char* copy = nullptr;
  FUZZ_CHECK_EQ(parser.getMember(member.name, copy), member.value.size());
  FUZZ_CHECK(copy != nullptr);
  FUZZ_CHECK_EQ(std::string(copy, member.value.size()), member.value);
  FUZZ_CHECK_EQ(copy[member.value.size()], '\0');
  Kelp::SysFunc::kelpFree(copy);
}

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_PARSER_CHECKS_H
