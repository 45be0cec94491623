#include "core/WebApiCall.h"

#include "common/Answer.h"
#include "common/WebApi.h"

namespace KelpExample {

WebApiCall::WebApiCall(const Kelp::IpcAddress& client, const Kelp::IpcAddress& self, Kelp::SessionId_t sessionId,
                       const Record& request)
    : m_client(client.clone()), m_self(self), m_sessionId(sessionId), m_request(request) {}

WebApiCall::~WebApiCall() {
  if (!m_isAnswered) {
    answer(Kelp::CommonReturnCode_InternalError);
  }
}

const Record& WebApiCall::request() const {
  return m_request;
}

int WebApiCall::getClientPid() const {
  return clientPidOf(*m_client);
}

Record& WebApiCall::results() {
  return m_results;
}

void WebApiCall::answer(Kelp::CommonReturnCode_t code) {
  m_isAnswered = true;
  Record results = code == Kelp::CommonReturnCode_Ok ? m_results : Record();
  int callback;
  if (m_request.getNumber(kCallback, callback)) {
    results.putDecimal(kCallback, callback);
  }
  sendAnswer(*m_client, m_self, m_sessionId, code, results);
}

}  // namespace KelpExample
