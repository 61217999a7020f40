// SPDX-License-Identifier: Apache-2.0
// Runs in which a provider library asks an external CIM server: the whole way of an up-call, from
// the provider through the broker and its client to the server's socket, and back to the listing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Cimb.h"
#include "support/CimServer.h"

namespace brv::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// The answer of a server around its own part; the client's messages are numbered from 1001 on.
std::string answer(int id, const std::string& response, const std::string& name,
                   const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
         "DTDVERSION=\"2.0\">\n"
         "<MESSAGE ID=\"" +
         std::to_string(id) + "\" PROTOCOLVERSION=\"1.0\">\n<SIMPLERSP>\n<" + response +
         " NAME=\"" + name + "\">\n" + content + "</" + response +
         ">\n</SIMPLERSP>\n</MESSAGE>\n</CIM>\n";
}

std::string instances(int id, const std::string& content) {
  return answer(id, "IMETHODRESPONSE", "EnumerateInstances",
                "<IRETURNVALUE>\n" + content + "</IRETURNVALUE>\n");
}

const std::string kPumps =
    "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"Acme_Pump\"><KEYBINDING NAME=\"Id\">"
    "<KEYVALUE VALUETYPE=\"string\">p1</KEYVALUE></KEYBINDING></INSTANCENAME>\n"
    "<INSTANCE CLASSNAME=\"Acme_Pump\">\n"
    "<PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>p1 &lt;&amp;&gt; \xC3\xA9</VALUE></PROPERTY>\n"
    "<PROPERTY NAME=\"Flow\" TYPE=\"real64\"><VALUE>2.5000000000000000e-01</VALUE></PROPERTY>\n"
    "<PROPERTY.ARRAY NAME=\"Tags\" TYPE=\"string\"><VALUE.ARRAY><VALUE>wet</VALUE>"
    "<VALUE>b c</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>\n"
    "<PROPERTY NAME=\"Since\" TYPE=\"datetime\"><VALUE>00000003040506.000789:000</VALUE>"
    "</PROPERTY>\n<PROPERTY NAME=\"Note\" TYPE=\"string\"/>\n"
    "</INSTANCE></VALUE.NAMEDINSTANCE>\n"
    "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"Acme_Pump\"/>"
    "<INSTANCE CLASSNAME=\"Acme_Pump\"><PROPERTY NAME=\"Id\" TYPE=\"string\">"
    "<VALUE></VALUE></PROPERTY></INSTANCE></VALUE.NAMEDINSTANCE>\n";

class CimServers : public testing::Test {
 protected:
  CimServers() {
    fs::copy_file(PROVIDERS_ASKS_SERVER,
                  m_folder.path() / "libcmpiOSBase_OperatingSystemProvider.so");
    m_folder.write("host/proc/loadavg", "0.05 1.10 12.00 1/100 4711\n");
  }
  fs::path socket() const { return m_folder.path() / "cim.socket"; }

  /// Enumerates the class of the provider that asks for Acme_Pump; `ask` are further settings of
  /// it.
  ProgramResult run(const std::vector<std::string>& ask, const std::string& arguments = "") const {
    ProgramRun run = onHost(m_folder.path() / "host", "-e -c Linux_OperatingSystem " + arguments);
    run.environment.push_back("LD_LIBRARY_PATH=" + m_folder.path().string());
    run.environment.push_back("ASK_CLASS=Acme_Pump");
    run.environment.insert(run.environment.end(), ask.begin(), ask.end());
    return runProgram(run);
  }
  std::string socketVariable() const { return "CIMOM_SOCKET_PATH=" + socket().string(); }

  TemporaryFolder m_folder;
};

TEST_F(CimServers, InstancesOfAClassThatNobodyHereServes) {
  const CimServer server(
      socket(), {plainReply(instances(1001, "")), chunkedReply(instances(1002, kPumps), 100)});
  const ProgramResult result = run({}, "-T 2 -socketpath " + socket().string());
  EXPECT_EQ(result.status, 0) << result.error;
  const std::string line(58, '*');
  EXPECT_EQ(result.output, line +
                               "\n Id , string , p1 <&> \xC3\xA9\n Flow , real64 , 0.25\n"
                               " Tags , string[] sep=; , wet;b c\n"
                               " Since , datetime , 00000003040506.000789:000\n"
                               " Note , string , NULL\n" +
                               line + "\n Id , string , \n");
  EXPECT_THAT(result.error, HasSubstr("Enumerated 0 instance(s) of Acme_Pump\n"));
  EXPECT_THAT(result.error, HasSubstr("Enumerated 2 instance(s) of Acme_Pump\n"));

  // The client is kept: both questions go over one connection.
  EXPECT_EQ(server.connections(), 1);
  const std::vector<std::string> requests = server.requests();
  ASSERT_EQ(requests.size(), 2u);
  for (const std::string& request : requests)
    EXPECT_THAT(request,
                AllOf(HasSubstr("CIMMethod: EnumerateInstances\r\n"),
                      HasSubstr("CIMObject: root%2Fcimv2\r\n"), Not(HasSubstr("Authorization"))));
  EXPECT_THAT(requests[0], Not(HasSubstr("PropertyList")));
  EXPECT_THAT(requests[1], HasSubstr("<IPARAMVALUE NAME=\"PropertyList\"><VALUE.ARRAY>"
                                     "<VALUE>Id</VALUE><VALUE>Tags</VALUE></VALUE.ARRAY>"));
}

TEST_F(CimServers, NamespacesOnTheWire) {
  struct Case {
    const char* asked;  // of the provider; the broker takes "root/" away
    std::string sent;
  };
  const std::string root = "<NAMESPACE NAME=\"root\"/>";
  for (const Case& c :
       std::vector<Case>{{"ASK_NAMESPACE=root/interop/a",
                          root + "<NAMESPACE NAME=\"interop\"/><NAMESPACE NAME=\"a\"/>"},
                         {"ASK_NAMESPACE=elsewhere", root},
                         {"ASK_NAMESPACE=", root + "<NAMESPACE NAME=\"cimv2\"/>"}}) {
    SCOPED_TRACE(c.asked);
    const CimServer server(socket(),
                           {plainReply(instances(1001, "")), plainReply(instances(1002, ""))});
    EXPECT_EQ(run({c.asked, socketVariable()}).status, 0);
    const std::vector<std::string> requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_THAT(requests[0], HasSubstr("<LOCALNAMESPACEPATH>" + c.sent + "</LOCALNAMESPACEPATH>"));
  }
}

TEST_F(CimServers, MethodsWithTypedArguments) {
  const std::string reply =
      answer(1001, "METHODRESPONSE", "Prime",
             "<RETURNVALUE PARAMTYPE=\"uint32\"><VALUE>42</VALUE></RETURNVALUE>"
             "<PARAMVALUE NAME=\"left\" "
             "PARAMTYPE=\"sint64\"><VALUE>-9223372036854775808</VALUE></PARAMVALUE>"
             "<PARAMVALUE NAME=\"names\" "
             "PARAMTYPE=\"string\"><VALUE.ARRAY><VALUE>x</VALUE><VALUE>y</VALUE>"
             "</VALUE.ARRAY></PARAMVALUE><PARAMVALUE NAME=\"none\" PARAMTYPE=\"boolean\"/>");
  const CimServer server(socket(), {plainReply(reply)});
  const ProgramResult result = run({"ASK_METHOD=Prime", socketVariable()}, "-T 3");
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.output,
              EndsWith("*\n returned , sint32 , 42\n ReturnValue , uint32 , 42\n"
                       " left , sint64 , -9223372036854775808\n names , string[] sep=; , x;y\n"
                       " none , boolean , NULL\n"));
  EXPECT_THAT(result.error, AllOf(HasSubstr("Invoking method Prime of Acme_Pump\n"),
                                  HasSubstr("Got 4 result values\n"),
                                  HasSubstr(" Key: 'ReturnValue', Value: '42', Type: 'uint32'\n"),
                                  HasSubstr(" Key: 'none', Value: '', Type: 'boolean'\n")));
  ASSERT_EQ(server.requests().size(), 1u);
  const std::string request = server.requests()[0];
  for (const char* part :
       {"CIMMethod: Prime\r\n", "<METHODCALL NAME=\"Prime\">",
        "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"string\">p&amp;1=&quot;x&quot;</KEYVALUE>",
        "<KEYBINDING NAME=\"Line\"><KEYVALUE VALUETYPE=\"numeric\">3</KEYVALUE>",
        "NAME=\"text\" PARAMTYPE=\"string\"><VALUE>(uint32)5&amp;b=%41&lt;</VALUE>",
        "NAME=\"count\" PARAMTYPE=\"sint64\"><VALUE>-7</VALUE>",
        "NAME=\"on\" PARAMTYPE=\"boolean\"><VALUE>TRUE</VALUE>",
        "NAME=\"list\" PARAMTYPE=\"string\"><VALUE.ARRAY><VALUE>a;b</VALUE><VALUE></VALUE>",
        "NAME=\"flow\" PARAMTYPE=\"real64\"><VALUE>1234567.25</VALUE>",
        "NAME=\"one\" PARAMTYPE=\"string\"><VALUE.ARRAY><VALUE></VALUE></VALUE.ARRAY>",
        "NAME=\"no list\" PARAMTYPE=\"string\"/>",
        "NAME=\"pump\" PARAMTYPE=\"reference\"><VALUE.REFERENCE>",
        "NAME=\"nothing\" PARAMTYPE=\"uint8\"/>"})
    EXPECT_THAT(request, HasSubstr(part));
}

TEST_F(CimServers, WhatGoesWrongIsSaidAndNothingElse) {
  const std::string at = "CIM server at '" + socket().string() + "': ";
  const std::string cut = instances(1001, kPumps);
  struct Case {
    const char* what;
    std::vector<Reply> script;
    std::string error;
    const char* ask = "ASK_NAMESPACE=root/cimv2";
  };
  for (const Case& c : std::vector<Case>{
           {"an error of the server",
            {plainReply(answer(1001, "IMETHODRESPONSE", "EnumerateInstances",
                               "<ERROR CODE=\"5\" DESCRIPTION=\"no &lt;such&gt; class\"/>\n"))},
            "Error: CIM request failed (error code: 5): no <such> class\n"},
           {"an error of a method",
            {plainReply(answer(1001, "METHODRESPONSE", "Prime", "<ERROR CODE=\"200\"/>\n"))},
            "Error: CIM request failed (error code: 200)\n",
            "ASK_METHOD=Prime"},
           {"an error behind instances",
            {chunkedReply(cut.substr(0, cut.find("</IRETURNVALUE>")), 64, 1, "broke")},
            "Error: CIM request failed (error code: 1): broke\n"},
           {"an answer cut off",
            {plainReply(cut.substr(0, cut.find("</IRETURNVALUE>")))},
            "Error: " + at},
           {"no CIM server", {plainReply("<html/>")}, "Error: " + at}}) {
    SCOPED_TRACE(c.what);
    const CimServer server(socket(), c.script);
    const ProgramResult result = run({c.ask, socketVariable()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr(c.error));
    EXPECT_THAT(result.error, HasSubstr("Failed to process "));
  }
  EXPECT_THAT(run({socketVariable()}).error, HasSubstr("Error: " + at));
  EXPECT_THAT(run({socketVariable(), "ASK_METHOD=Prime", "ASK_CIRCLE="}).error,
              HasSubstr("Error: Invalid request: Paths within paths\n"));
  EXPECT_THAT(run({}).error,
              HasSubstr("Error: No CIM server can be asked: CIMOM_SOCKET_PATH is not set"));
}

}  // namespace
}  // namespace brv::test
