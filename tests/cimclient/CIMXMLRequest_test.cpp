// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMXMLRequest.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "cimclient/CIMClientError.h"

namespace brv {
namespace {

// The document within SIMPLEREQ.
std::string content(const HTTPCIMRequest& request) {
  const std::string begin =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
      "<MESSAGE ID=\"12\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ>";
  const std::string end = "</SIMPLEREQ></MESSAGE></CIM>\n";
  const std::string& body = request.body;
  if (!body.starts_with(begin) || !body.ends_with(end)) return body;
  return body.substr(begin.size(), body.size() - begin.size() - end.size());
}

std::string nameSpace(std::initializer_list<const char*> parts) {
  std::string xml = "<LOCALNAMESPACEPATH>";
  for (const char* part : parts) xml.append("<NAMESPACE NAME=\"").append(part).append("\"/>");
  return xml + "</LOCALNAMESPACEPATH>";
}

// One argument as it is sent, or what the error says.
std::string argument(const char* value, const char* type = nullptr, const char* name = "a") {
  CIMRequest request("cimv2", "Acme_Pump");
  request.setMethodName("Prime");
  request.AddArgument(name, value, type);
  try {
    const std::string xml = content(CIMXMLRequest::invokeMethod(request, 12));
    const std::string before = "<METHODCALL NAME=\"Prime\"><LOCALCLASSPATH>" +
                               nameSpace({"root", "cimv2"}) +
                               "<CLASSNAME NAME=\"Acme_Pump\"/></LOCALCLASSPATH>"
                               "<PARAMVALUE NAME=\"a\"";
    const std::string after = "</METHODCALL>";
    if (!xml.starts_with(before) || !xml.ends_with(after)) return xml;
    return xml.substr(before.size(), xml.size() - before.size() - after.size());
  } catch (const CIMClientError& error) {
    return error.what();
  }
}

TEST(CIMXMLRequest, EnumerateInstances) {
  CIMRequest request("cimv2", "Acme_Pump");
  request.setCredential("dTpw");
  const char* const names[] = {"Tag", "No", nullptr};
  const HTTPCIMRequest http = CIMXMLRequest::enumerateInstances(request, names, 12);
  EXPECT_EQ(http.method, "EnumerateInstances");
  EXPECT_EQ(http.object, "root/cimv2");
  EXPECT_EQ(http.credential, "dTpw");
  const std::string head =
      "<IMETHODCALL NAME=\"EnumerateInstances\">" + nameSpace({"root", "cimv2"}) +
      "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"Acme_Pump\"/></IPARAMVALUE>"
      "<IPARAMVALUE NAME=\"DeepInheritance\"><VALUE>TRUE</VALUE></IPARAMVALUE>";
  const std::string list = "<IPARAMVALUE NAME=\"PropertyList\"><VALUE.ARRAY";
  EXPECT_EQ(content(http),
            head + "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>FALSE</VALUE></IPARAMVALUE>" + list +
                "><VALUE>Tag</VALUE><VALUE>No</VALUE></VALUE.ARRAY></IPARAMVALUE></IMETHODCALL>");

  request.setOption(CIMRequest::kLocalOnly | CIMRequest::kIncludeQualifiers |
                    CIMRequest::kIncludeClassOrigin);
  EXPECT_EQ(content(CIMXMLRequest::enumerateInstances(request, names + 2, 12)),
            head +
                "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>TRUE</VALUE></IPARAMVALUE>"
                "<IPARAMVALUE NAME=\"IncludeQualifiers\"><VALUE>TRUE</VALUE></IPARAMVALUE>"
                "<IPARAMVALUE NAME=\"IncludeClassOrigin\"><VALUE>TRUE</VALUE></IPARAMVALUE>" +
                list + "/></IPARAMVALUE></IMETHODCALL>");
  EXPECT_EQ(CIMXMLRequest::enumerateInstances(request, nullptr, 12).body.find(list),
            std::string::npos);
  EXPECT_THROW(CIMXMLRequest::enumerateInstances(CIMRequest("cimv2"), nullptr, 12), CIMClientError);
}

TEST(CIMXMLRequest, EveryNamespaceBeginsWithRoot) {
  const struct {
    const char* given;
    const char* full;
  } cases[] = {{nullptr, "root"},        {"", "root"},         {"cimv2", "root/cimv2"},
               {"a//b/", "root/a/b"},    {"ROOT/a", "ROOT/a"}, {"root", "root"},
               {"rooted", "root/rooted"}};
  for (const auto& c : cases)
    EXPECT_EQ(CIMXMLRequest::enumerateInstances(CIMRequest(c.given, "C"), nullptr, 1).object,
              c.full);
}

TEST(CIMXMLRequest, MethodOfAnInstance) {
  CIMRequest request(nullptr, "Acme_Pump");
  EXPECT_THROW(CIMXMLRequest::invokeMethod(request, 12), CIMClientError);
  request.setMethodName("Prime");
  request.AddAttribute("Tag", "a\"\t<b");
  request.AddAttribute("No", " 7 ", "uint16");
  request.AddAttribute("On", "true", "boolean");
  request.AddAttribute("Of", "acme:Acme_Set.Id=\"1\"", "reference");
  const HTTPCIMRequest http = CIMXMLRequest::invokeMethod(request, 12);
  EXPECT_EQ(http.method, "Prime");
  EXPECT_EQ(http.object,
            "root:Acme_Pump.Tag=\"a\\\"\t<b\",No=7,On=TRUE,"
            "Of=\"acme:Acme_Set.Id=\\\"1\\\"\"");
  const auto key = [](const char* name, const std::string& value) {
    return "<KEYBINDING NAME=\"" + std::string(name) + "\">" + value + "</KEYBINDING>";
  };
  EXPECT_EQ(content(http),
            "<METHODCALL NAME=\"Prime\"><LOCALINSTANCEPATH>" + nameSpace({"root"}) +
                "<INSTANCENAME CLASSNAME=\"Acme_Pump\">" +
                key("Tag", "<KEYVALUE VALUETYPE=\"string\">a&quot;\t&lt;b</KEYVALUE>") +
                key("No", "<KEYVALUE VALUETYPE=\"numeric\">7</KEYVALUE>") +
                key("On", "<KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE>") +
                key("Of", "<VALUE.REFERENCE><LOCALINSTANCEPATH>" + nameSpace({"root", "acme"}) +
                              "<INSTANCENAME CLASSNAME=\"Acme_Set\">" +
                              key("Id", "<KEYVALUE VALUETYPE=\"string\">1</KEYVALUE>") +
                              "</INSTANCENAME></LOCALINSTANCEPATH></VALUE.REFERENCE>") +
                "</INSTANCENAME></LOCALINSTANCEPATH></METHODCALL>");
  request.AddAttribute("Null", nullptr);
  EXPECT_THROW(CIMXMLRequest::invokeMethod(request, 12), CIMClientError);
}

TEST(CIMXMLRequest, Arguments) {
  const std::string none = "/>";
  const auto typed = [](const char* type, const std::string& rest) {
    return " PARAMTYPE=\"" + std::string(type) + "\"" + rest;
  };
  const auto value = [](const std::string& text) {
    return "><VALUE>" + text + "</VALUE></PARAMVALUE>";
  };
  const auto array = [](const std::string& elements) {
    return "><VALUE.ARRAY>" + elements + "</VALUE.ARRAY></PARAMVALUE>";
  };
  const std::string two = "<VALUE>a</VALUE><VALUE>b</VALUE>";
  const struct {
    const char* value;
    const char* type;
    std::string expected;
  } cases[] = {
      {nullptr, nullptr, none},
      {nullptr, "uint8", typed("uint8", none)},
      {"", nullptr, value("")},
      {"a\r<\n\"\xC3\xA9\"&>", nullptr, value("a&#13;&lt;\n&quot;\xC3\xA9&quot;&amp;&gt;")},
      {"(uint32)5", nullptr, typed("uint32", value("5"))},
      {"( UINT32 ) 5 ", nullptr, typed("uint32", value("5"))},
      {"(uint32)", nullptr, typed("uint32", none)},
      {"(string)", nullptr, typed("string", value(""))},
      {"(char16) ", nullptr, typed("char16", value(" "))},
      {"(boolean)true", nullptr, typed("boolean", value("TRUE"))},
      {"(datetime)20240229123456.654321+060", nullptr,
       typed("datetime", value("20240229123456.654321+060"))},
      {"(note)5", nullptr, value("(note)5")},
      {"(string", nullptr, value("(string")},
      {"(string[]x)a", nullptr, value("(string[]x)a")},
      {"(string[] sep=)a", nullptr, value("(string[] sep=)a")},
      {"(string)a", "string", typed("string", value("(string)a"))},
      {"(string)a", "instance", value("(string)a")},
      {"(string[])a;b", nullptr, typed("string", array(two))},
      {"(string[] sep=,)a,b", nullptr, typed("string", array(two))},
      {"a;b", "string[] sep=;", typed("string", array(two))},
      {";", "string[]", typed("string", array("<VALUE></VALUE><VALUE></VALUE>"))},
      {"", "sint8[]", typed("sint8", "><VALUE.ARRAY/></PARAMVALUE>")},
      {"1; 2", "real32[]", typed("real32", array("<VALUE>1</VALUE><VALUE>2</VALUE>"))},
      {"1;;2", "uint8[]", "the argument 'a' has an empty element"},
      {"(reference)//h/acme:C", nullptr,
       typed("reference", "><VALUE.REFERENCE><LOCALCLASSPATH>" + nameSpace({"root", "acme"}) +
                              "<CLASSNAME NAME=\"C\"/></LOCALCLASSPATH></VALUE.REFERENCE>"
                              "</PARAMVALUE>")},
      {"C;D", "reference[]",
       typed("reference",
             "><VALUE.REFARRAY><VALUE.REFERENCE><CLASSNAME NAME=\"C\"/>"
             "</VALUE.REFERENCE><VALUE.REFERENCE><CLASSNAME NAME=\"D\"/>"
             "</VALUE.REFERENCE></VALUE.REFARRAY></PARAMVALUE>")},
      {"C.", "reference", "the argument 'a' holds 'C.', which is no object path"},
      {"C=1", "reference", "the argument 'a' has a key without a name"},
      {"\xFF", nullptr, "the argument 'a' holds bytes that are not UTF-8"},
      {"\x1B", nullptr, "the argument 'a' holds the control character 27, which XML does not have"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(argument(c.value, c.type), c.expected) << (c.value == nullptr ? "null" : c.value);
  EXPECT_EQ(argument("1", nullptr, ""), "the argument '' has no name");
}

}  // namespace
}  // namespace brv
