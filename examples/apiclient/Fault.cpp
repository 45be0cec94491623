#include "apiclient/Fault.h"

namespace KelpExample {

namespace {

int httpStatusOf(Kelp::CommonReturnCode_t code) {
  switch (code) {
    case Kelp::CommonReturnCode_Ok:
      return 200;
    case Kelp::CommonReturnCode_InvalidParameter:
    case Kelp::CommonReturnCode_InvalidProtocol:
      return 400;
    case Kelp::CommonReturnCode_PermissionDenied:
      return 403;
    case Kelp::CommonReturnCode_InvalidMethod:
    case Kelp::CommonReturnCode_InvalidInstallId:
    case Kelp::CommonReturnCode_InvalidProcessId:
    case Kelp::CommonReturnCode_InvalidExecId:
      return 404;
    case Kelp::CommonReturnCode_BadApplicationStatus:
    case Kelp::CommonReturnCode_InvalidApplicationPreference:
      return 409;
    case Kelp::CommonReturnCode_NotSupported:
      return 501;
    default:
      return 500;
  }
}

}  // namespace

Fault faultOf(Kelp::CommonReturnCode_t code) {
  return {httpStatusOf(code), code, ""};
}

const char* httpReason(int httpStatus) {
  switch (httpStatus) {
    case 200:
      return "OK";
    case 400:
      return "Bad Request";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 408:
      return "Request Timeout";
    case 409:
      return "Conflict";
    case 411:
      return "Length Required";
    case 413:
      return "Payload Too Large";
    case 415:
      return "Unsupported Media Type";
    case 501:
      return "Not Implemented";
    case 502:
      return "Bad Gateway";
    case 503:
      return "Service Unavailable";
    case 504:
      return "Gateway Timeout";
    default:
      return "Internal Server Error";
  }
}

}  // namespace KelpExample
