// One entry of the application list that a binary response carries. What the values mean is for those to say who fill
// the list; how they are written, BinarySerializer says.
#ifndef KELP_RPC_APPLICATION_INFO_LIST_H
#define KELP_RPC_APPLICATION_INFO_LIST_H

#include <string>
#include <utility>
#include <vector>

namespace Kelp {

struct ApplicationInfoList_t {
  int firstWord;
  int secondWord;
  std::string text;  // 8 bytes of it are written
  int words[4];
  std::vector<std::pair<int, int>> pairs;          // 4 of them are written
  std::vector<std::pair<int, std::string>> slots;  // 64 of them are written, 64 bytes of each text
};

}  // namespace Kelp

#endif  // KELP_RPC_APPLICATION_INFO_LIST_H
