// Packages on their way from an upload to the application's directory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdint.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Base64EncDec.h"
#include "FilePathManager.h"
#include "KelpReturnCode.h"
#include "common/Record.h"
#include "examples/ExamplePrograms.h"

namespace KelpTest {
namespace {

using Kelp::FilePathManager;
using KelpExample::Record;

constexpr char kMultipart[] = "multipart/form-data; boundary=whatever";
constexpr char kBinary[] = "application/octet-stream";

// Boundaries as the clients write them behind the two hyphens.
const char* const kBoundaries[] = {
    "------------------------0123456789abcdef",                // curl before 8.4
    "------------------------0123456789abcdefABCDEF",          // curl since
    "----WebKitFormBoundaryAbCdEfGhIjKlMnOp",                  // Chromium
    "---------------------------123456789012345678901234567",  // Firefox, its digits vary in number
    "---------------------------12345678901234567890123456789",
    "----geckoformboundary0123456789abcdef0123456789abcdef",  // Firefox since 130
};

// All byte values, and no two pages alike.
std::string makePackage(size_t size) {
  std::string bytes(size, '\0');
  uint32_t number = 0;
  for (char& byte : bytes) {
    number += 2654435769u;
    byte = static_cast<char>(number >> 20u);
  }
  return bytes;
}

std::string base64(const std::string& bytes) {
  const auto size = static_cast<unsigned int>(bytes.size());
  Kelp::Base64EncDec codec;
  const unsigned int room = codec.encodeSize(size) + 1;
  std::string text(room, '\0');
  unsigned int textSize = 0;
  EXPECT_EQ(0, codec.putBase64(reinterpret_cast<const unsigned char*>(bytes.data()), size,
                               reinterpret_cast<unsigned char*>(&text[0]), room, textSize));
  text.resize(textSize);
  return text;
}

std::string inLines(const std::string& text) {
  std::string lines;
  for (size_t at = 0; at < text.size(); at += 76) {
    lines += text.substr(at, 76) + "\r\n";
  }
  return lines;
}

std::string part(const std::string& boundary, const std::string& head, const std::string& data) {
  return "--" + boundary + "\r\nContent-Disposition: form-data; name=" + head + "\r\n\r\n" + data + "\r\n";
}

std::string upload(const std::string& boundary, const std::string& packageText,
                   const std::string& installId = "00000001") {
  return part(boundary, "\"methodName\"", "updateApplication") + part(boundary, "\"installId\"", installId) +
         part(boundary, "\"applicationPackage\"; filename=\"clock-1.1.b64\"\r\nContent-Type: application/octet-stream",
              packageText) +
         "--" + boundary + "--\r\n";
}

std::string updateRecord(int32_t installId, const std::string& path) {
  const int32_t words[] = {0, installId};
  return std::string(reinterpret_cast<const char*>(words), sizeof(words)) + path + '\0';
}

std::string codeRecord(int code) {
  const int32_t word = code;
  return std::string(reinterpret_cast<const char*>(&word), sizeof(word));
}

class PackageUpdateTest : public ExamplesTest {
 protected:
  void expectPackage(const std::string& package) const {
    EXPECT_TRUE(package == contentOf(m_package));
    EXPECT_EQ(std::vector<std::string>({"package"}), filesIn(m_setup));
  }

  const std::string m_setup = FilePathManager::getAppSetupPath("clock");
  const std::string m_package = m_setup + "/package";
  const std::string m_upload = FilePathManager::getAppTmpBasePath() + "/clock.b64";
};

TEST_F(PackageUpdateTest, EveryClientsFormIsDecodedIntoTheFile) {
  CoreProcess core;
  size_t size = 3000001;
  for (const char* const boundary : kBoundaries) {
    const std::string package = makePackage(++size);
    const ClientReply reply = callApi(upload(boundary, base64(package)), kMultipart);
    EXPECT_EQ("{\"returnCode\":\"0\",\"packageSize\":\"" + std::to_string(size) + "\"}", reply.body) << boundary;
    expectPackage(package);
  }
  endCore(core);
}

TEST_F(PackageUpdateTest, Base64InLinesIsDecodedToo) {
  const std::string package = makePackage(1000000);
  CoreProcess core;
  EXPECT_EQ(200, callApi(upload(kBoundaries[0], inLines(base64(package))), kMultipart).httpStatus);
  expectPackage(package);
  writeFile(m_upload, inLines(base64(package + "x")));
  EXPECT_EQ(codeRecord(0), callApi(updateRecord(1, m_upload), kBinary).body);
  expectPackage(package + "x");
  endCore(core);
}

TEST_F(PackageUpdateTest, ASmallPackageMayComeInAUrlEncodedForm) {
  CoreProcess core;
  EXPECT_EQ(R"({"returnCode":"0","packageSize":"4"})",
            callApi("methodName=updateApplication&installId=1&applicationPackage=S2VscA%3D%3D").body);
  expectPackage("Kelp");
  endCore(core);
}

// A pipe stands for a slow disk: whoever writes to it waits until it is read.
TEST_F(PackageUpdateTest, TheLoopAnswersOtherCallsWhileAPackageIsDecoded) {
  const std::string package = makePackage(2000000);
  const std::string body = upload(kBoundaries[2], base64(package));
  ASSERT_EQ(0, mkdir(m_setup.c_str(), 0755));
  ASSERT_EQ(0, mkfifo((m_package + "~").c_str(), 0600));
  CoreProcess core;
  ClientProcess client(body, postVariables(body, kMultipart));
  // No file but the core's and the client's is left: the upload has been taken over.
  EXPECT_TRUE(waitUntil(
      [] { return has(testing::PrintToString(filesIn(FilePathManager::getCoreTmpPath())), "core00000000"); }));
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(200, callApi("methodName=getApplicationList").httpStatus);
  }
  const ClientReply second = callApi(body, kMultipart);
  EXPECT_EQ(R"({"faultCode":"13","faultString":"Bad Application Status"})", second.body);
  EXPECT_EQ(409, callApi("methodName=startApplication&installId=00000001").httpStatus);
  EXPECT_TRUE(package == contentOf(m_package + "~"));
  EXPECT_EQ(200, client.waitForReply().httpStatus);
  EXPECT_EQ(200, callApi("methodName=startApplication&installId=00000001").httpStatus);
  endCore(core);
}

TEST_F(PackageUpdateTest, ACoreThatIsToldToEndFinishesTheUpdateFirst) {
  const std::string body = upload(kBoundaries[0], base64("Kelp"));
  ASSERT_EQ(0, mkdir(m_setup.c_str(), 0755));
  ASSERT_EQ(0, mkfifo((m_package + "~").c_str(), 0600));
  CoreProcess core;
  ClientProcess client(body, postVariables(body, kMultipart));
  EXPECT_TRUE(waitUntil(
      [] { return has(testing::PrintToString(filesIn(FilePathManager::getCoreTmpPath())), "core00000000"); }));
  core.sendSignal(SIGTERM);
  EXPECT_TRUE(waitUntil([] { return callApi("methodName=startApplication&installId=00000002").httpStatus == 409; }));
  EXPECT_EQ("Kelp", contentOf(m_package + "~"));
  EXPECT_EQ(200, client.waitForReply().httpStatus);
  EXPECT_EQ(0, core.waitForEnd());
  EXPECT_EQ(std::vector<std::string>(), filesIn(FilePathManager::getCoreTmpPath()));
}

TEST_F(PackageUpdateTest, ACallerThatDiesDoesNotTakeTheFileAway) {
  const std::string body = upload(kBoundaries[0], base64("Kelp"));
  ASSERT_EQ(0, mkdir(m_setup.c_str(), 0755));
  ASSERT_EQ(0, mkfifo((m_package + "~").c_str(), 0600));
  CoreProcess core;
  ClientProcess client(body, postVariables(body, kMultipart));
  EXPECT_TRUE(waitUntil(
      [] { return has(testing::PrintToString(filesIn(FilePathManager::getCoreTmpPath())), "core00000000"); }));
  client.sendSignal(SIGKILL);
  EXPECT_TRUE(WIFSIGNALED(client.waitForReply().exitStatus));
  EXPECT_EQ("Kelp", contentOf(m_package + "~"));
  EXPECT_TRUE(waitUntil(
      [] { return !has(testing::PrintToString(filesIn(FilePathManager::getCoreTmpPath())), "core00000000"); }));
  for (const auto& left : std::filesystem::directory_iterator(FilePathManager::getCoreTmpPath())) {
    if (left.path().filename() != "fifocore") {
      std::filesystem::remove(left.path());  // the dead client's FIFO
    }
  }
  endCore(core);
}

TEST_F(PackageUpdateTest, AFaultLeavesThePackageOfBefore) {
  CoreProcess core;
  EXPECT_EQ(200, callApi(upload(kBoundaries[0], base64("Kelp")), kMultipart).httpStatus);
  const std::string whole = upload(kBoundaries[0], base64("other"));
  const std::string noBase64 = upload(kBoundaries[0], "no base64 at all!");
  EXPECT_EQ(R"({"faultCode":"10","faultString":"Invalid Protocol"})", callApi(noBase64, kMultipart).body);
  EXPECT_EQ(400, callApi(whole.substr(0, whole.size() - 50), kMultipart).httpStatus);
  EXPECT_EQ(400, callApi(upload(kBoundaries[0], ""), kMultipart).httpStatus);
  EXPECT_EQ(404, callApi(upload(kBoundaries[0], "S2Vs", "00000009"), kMultipart).httpStatus);
  EXPECT_EQ(200, callApi("methodName=startApplication&installId=00000001").httpStatus);
  EXPECT_EQ(409, callApi(whole, kMultipart).httpStatus);
  expectPackage("Kelp");
  endCore(core);
}

TEST_F(PackageUpdateTest, ANamedFileWithoutAPackageLeavesTheOneOfBefore) {
  CoreProcess core;
  writeFile(m_upload, base64("Kelp"));
  EXPECT_EQ(codeRecord(0), callApi(updateRecord(1, m_upload), kBinary).body);
  for (const char* const content : {"", "no!Base64"}) {
    writeFile(m_upload, content);
    EXPECT_EQ(codeRecord(Kelp::CommonReturnCode_InvalidProtocol), callApi(updateRecord(1, m_upload), kBinary).body);
    expectPackage("Kelp");
  }
  endCore(core);
}

TEST_F(PackageUpdateTest, APackageThatCannotBeWrittenIsAFault) {
  writeFile(m_setup, "in the way");
  CoreProcess core;
  EXPECT_EQ(R"({"faultCode":"15","faultString":"I\/O error"})",
            callApi(upload(kBoundaries[0], "S2Vs"), kMultipart).body);
  EXPECT_EQ("in the way", contentOf(m_setup));
  endCore(core);
}

// The test that the parser makes before the first part hits these: the caller is told, and nothing happens.
TEST_F(PackageUpdateTest, AFirstPartWithAHyphenInTheWrongPlaceIsAFault) {
  CoreProcess core;
  EXPECT_EQ(400, callApi(upload("short", "S2Vs"), kMultipart).httpStatus);
  EXPECT_EQ(400, callApi(upload("23 bytes and 2 hyphens!", "S2Vs"), kMultipart).httpStatus);
  const std::string another = part(kBoundaries[0], "\"exec-id\"", "3") + upload(kBoundaries[0], "S2Vs");
  EXPECT_EQ(400, callApi(another, kMultipart).httpStatus);
  EXPECT_EQ(200, callApi(upload("24 bytes and 2 hyphens!!", "S2Vs"), kMultipart).httpStatus);
  endCore(core);
}

TEST_F(PackageUpdateTest, ARecordMayOnlyNameAnUploadedFile) {
  const std::string secret = "/mnt/system/kelp/secret";
  writeFile(secret, "S2Vs");
  ASSERT_EQ(0, symlink(secret.c_str(), (m_upload + ".link").c_str()));
  ASSERT_EQ(0, mkfifo((m_upload + ".fifo").c_str(), 0600));
  writeFile(m_upload + ".large", "");
  ASSERT_EQ(0, truncate((m_upload + ".large").c_str(), (16 << 20) + 1));
  const std::string place = FilePathManager::getAppTmpBasePath();
  const std::pair<std::string, int> cases[] = {
      {secret, Kelp::CommonReturnCode_PermissionDenied},
      {place + "/../../mnt/system/kelp/secret", Kelp::CommonReturnCode_PermissionDenied},
      {m_upload + ".link", Kelp::CommonReturnCode_PermissionDenied},
      {place + "/missing", Kelp::CommonReturnCode_PermissionDenied},
      {"/tmp", Kelp::CommonReturnCode_PermissionDenied},
      {place, Kelp::CommonReturnCode_PermissionDenied},
      {m_upload + ".fifo", Kelp::CommonReturnCode_InvalidProtocol},
      {m_upload + ".large", Kelp::CommonReturnCode_NotEnoughMemory},
      {"", Kelp::CommonReturnCode_InvalidProtocol},
  };
  CoreProcess core;
  for (const auto& [path, code] : cases) {
    EXPECT_EQ(codeRecord(code), callApi(updateRecord(1, path), kBinary).body) << path;
  }
  EXPECT_NE(0, access(m_package.c_str(), F_OK));
  endCore(core);
}

// The updates of two other applications, whose pipes nobody reads, hold up the workers, so that the third one waits
// behind the check of its file.
TEST_F(PackageUpdateTest, AFileIsTheOneThatWasCheckedWhateverItsNameStandsForByThen) {
  const std::string secret = "/mnt/system/kelp/secret";
  writeFile(secret, base64("secret"));
  writeFile(m_upload, base64("Kelp"));
  std::filesystem::copy(FilePathManager::getAppPath("clock"), FilePathManager::getAppPath("third"),
                        std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks);
  std::vector<std::string> pipes;
  for (const char* const name : {"clock", "radio"}) {
    ASSERT_EQ(0, mkdir(FilePathManager::getAppSetupPath(name).c_str(), 0755));
    pipes.push_back(FilePathManager::getAppSetupPath(name) + "/package~");
    ASSERT_EQ(0, mkfifo(pipes.back().c_str(), 0600));
  }
  CoreProcess core;
  std::vector<std::unique_ptr<ClientProcess>> clients;
  const auto update = [&](const std::string& body, const char* contentType) {
    const size_t number = clients.size();
    clients.push_back(std::make_unique<ClientProcess>(body, postVariables(body, contentType)));
    EXPECT_TRUE(waitUntil([&] {
      return has(testing::PrintToString(filesIn(FilePathManager::getCoreTmpPath())),
                 "core0000000" + std::to_string(number));
    }));
  };
  update(upload(kBoundaries[0], base64("Kelp"), "00000001"), kMultipart);
  update(upload(kBoundaries[0], base64("Kelp"), "00000002"), kMultipart);
  update(updateRecord(3, m_upload), kBinary);
  EXPECT_EQ(200, callApi("methodName=getApplicationList").httpStatus);  // the core is done with the check
  ASSERT_EQ(0, symlink(secret.c_str(), (m_upload + ".link").c_str()));
  ASSERT_EQ(0, rename((m_upload + ".link").c_str(), m_upload.c_str()));
  for (const std::string& pipe : pipes) {
    EXPECT_EQ("Kelp", contentOf(pipe));
  }
  EXPECT_EQ(200, clients[0]->waitForReply().httpStatus);
  EXPECT_EQ(200, clients[1]->waitForReply().httpStatus);
  EXPECT_EQ(codeRecord(0), clients[2]->waitForReply().body);
  EXPECT_EQ("Kelp", contentOf(FilePathManager::getAppSetupPath("third") + "/package"));
  endCore(core);
}

// Whatever a process writes into the core's FIFO, the core goes on.
TEST_F(PackageUpdateTest, AnUpdateWithoutAProperFileGetsAnErrorAnswer) {
  CoreProcess core;
  const std::string requestFile = FilePathManager::getCoreTmpPath() + "/request0000004D";
  {
    const ForeignPeer client(Kelp::IpcAddressType_Api, 77, 0, FilePathManager::getApiFifoPath(77));
    const auto codeOf = [&](int form) {
      Record update;
      update.putString("methodName", "updateApplication");
      update.putHexadecimal("installId", 1);
      update.putDecimal("requestForm", form);
      const uint32_t inMessage = 1;
      client.send(m_coreFifo, Kelp::IpcMessageKind_Request, 5,
                  std::string(reinterpret_cast<const char*>(&inMessage), sizeof(inMessage)) + update.encode());
      Kelp::IpcHeader header;
      std::string payload;
      Record answer;
      int code = -1;
      EXPECT_TRUE(client.receive(header, payload));
      EXPECT_TRUE(Record::decode(payload.data() + 4, payload.size() - 4, answer));
      EXPECT_TRUE(answer.getNumber("returnCode", code));
      return code;
    };
    EXPECT_EQ(Kelp::CommonReturnCode_InvalidProtocol, codeOf(1));  // no file
    ASSERT_EQ(0, mkfifo(requestFile.c_str(), 0600));
    EXPECT_EQ(Kelp::CommonReturnCode_InvalidProtocol, codeOf(1));
    writeFile(requestFile, "");
    EXPECT_EQ(Kelp::CommonReturnCode_InvalidProtocol, codeOf(0));
    writeFile(requestFile, std::string(20, '\xFF'));
    EXPECT_EQ(Kelp::CommonReturnCode_InvalidProtocol, codeOf(2));
    writeFile(requestFile, "");
    EXPECT_EQ(Kelp::CommonReturnCode_InvalidProtocol, codeOf(3));
    EXPECT_EQ(Kelp::CommonReturnCode_InvalidProtocol, codeOf(-1));
    EXPECT_EQ(0, unlink(requestFile.c_str()));  // an unknown form takes nothing
  }
  endCore(core);
}

}  // namespace
}  // namespace KelpTest
