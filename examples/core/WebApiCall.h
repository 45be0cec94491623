// One call of the web API, from the arrival of its request until it is answered. A method that cannot answer at once
// keeps the call and answers later, from whichever callback brings the result.
#ifndef KELP_EXAMPLES_CORE_WEB_API_CALL_H
#define KELP_EXAMPLES_CORE_WEB_API_CALL_H

#include <memory>

#include "IpcAddress.h"
#include "IpcHeader.h"
#include "KelpReturnCode.h"
#include "common/Record.h"

namespace KelpExample {

class WebApiCall {
 public:
  // `self`: the core's own address. Borrowed.
  WebApiCall(const Kelp::IpcAddress& client, const Kelp::IpcAddress& self, Kelp::SessionId_t sessionId,
             const Record& request);

  // A call that nobody has answered by now is answered with "Internal Error": no client waits in vain.
  ~WebApiCall();
  WebApiCall(const WebApiCall&) = delete;
  WebApiCall& operator=(const WebApiCall&) = delete;

  const Record& request() const;
  int getClientPid() const;

  // What a successful answer tells besides the code.
  Record& results();

  // To be called once. A failure carries no results.
  void answer(Kelp::CommonReturnCode_t code);

 private:
  std::unique_ptr<Kelp::IpcAddress> m_client;
  const Kelp::IpcAddress& m_self;
  const Kelp::SessionId_t m_sessionId;
  const Record m_request;
  Record m_results;
  bool m_isAnswered = false;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_CORE_WEB_API_CALL_H
