// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMXMLResponse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "cimclient/CIMClientError.h"

namespace brv {
namespace {

using Operation = CIMXMLResponse::Operation;
constexpr CIMXMLResponse::Limits kLimits{4096, 24};

// The objects, a line each, as `name type=value`; or what the error says.
std::string read(Operation operation, std::string_view document, std::size_t pieceSize) {
  List<CIMObject> objects;
  try {
    CIMXMLResponse response(
        operation, operation == Operation::kIntrinsic ? "EnumerateInstances" : "Prime", 7, kLimits);
    for (; !document.empty(); document.remove_prefix(std::min(pieceSize, document.size())))
      response.feed(document.substr(0, pieceSize));
    response.finish(objects);
  } catch (const CIMClientError& error) {
    EXPECT_EQ(objects.size(), 0U);
    return std::to_string(error.code()) + " " + error.what();
  }
  std::string out;
  for (const CIMObject& object : objects) {
    for (const CIMObject::Entry& entry : object.properties()) {
      out.append(entry.name.view()).append(" ").append(entry.type.view());
      out.append(entry.value.isNull() ? "" : "=").append(entry.value.view()).append("; ");
    }
    out += '\n';
  }
  return out;
}

// The same however it arrives.
std::string read(Operation operation, const std::string& document) {
  const std::string whole = read(operation, document, document.size());
  for (const std::size_t pieceSize : {1U, 7U, 20U, 50U})
    EXPECT_EQ(read(operation, document, pieceSize), whole) << document.substr(0, 512);
  return whole;
}

std::string message(const std::string& content) {
  return R"(<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
         R"(<MESSAGE PROTOCOLVERSION="1.0" ID="7"><SIMPLERSP>)" +
         content + "</SIMPLERSP></MESSAGE></CIM>\n";
}
std::string instances(const std::string& elements) {
  return message("<IMETHODRESPONSE NAME='enumerateinstances'><IRETURNVALUE>\n" + elements +
                 "\n</IRETURNVALUE></IMETHODRESPONSE>");
}
// One instance with one property, which ends with what is given.
std::string property(const std::string& rest) {
  return instances("<INSTANCE CLASSNAME='Acme_Pump'><PROPERTY NAME='P' " + rest +
                   "</PROPERTY></INSTANCE>");
}
std::string method(const std::string& content) {
  return message(R"(<METHODRESPONSE NAME="Prime">)" + content + "</METHODRESPONSE>");
}

constexpr const char* kPath =
    R"(<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="acme"/></LOCALNAMESPACEPATH>)";
constexpr const char* kName =
    R"(<INSTANCENAME CLASSNAME="Acme_Pump"><KEYBINDING NAME="Tag"><KEYVALUE>a"b</KEYVALUE>)"
    R"(</KEYBINDING><KEYBINDING NAME="No"><KEYVALUE VALUETYPE="numeric">-3</KEYVALUE></KEYBINDING>)"
    R"(<KEYBINDING NAME="On"><KEYVALUE VALUETYPE="boolean">true</KEYVALUE></KEYBINDING></INSTANCENAME>)";
constexpr const char* kNameText = R"(Acme_Pump.Tag="a\"b",No=-3,On=TRUE)";

std::string reference(const std::string& path) {
  return "<VALUE.REFERENCE>" + path + "</VALUE.REFERENCE>";
}
// A reference whose key is a reference and so on.
std::string nested(int levels) {
  if (levels == 0)
    return "<INSTANCENAME CLASSNAME='Acme_Pump'><KEYVALUE>x</KEYVALUE></INSTANCENAME>";
  return "<INSTANCENAME CLASSNAME='Acme_On'><KEYBINDING NAME='Of'>" +
         reference(nested(levels - 1)) + "</KEYBINDING></INSTANCENAME>";
}

struct Case {
  std::string document;
  std::string expected;
};

TEST(CIMXMLResponse, Instances) {
  const std::string path(kPath);
  const std::string name(kName);
  const std::string local = "root/acme:" + std::string(kNameText);
  const Case cases[] = {
      {instances(""), ""},
      {message("<IMETHODRESPONSE NAME='EnumerateInstances'/>"), ""},
      {message("<IMETHODRESPONSE NAME='EnumerateInstances'><IRETURNVALUE><INSTANCE/></IRETURNVALUE>"
               "<PARAMVALUE NAME='End'><VALUE>TRUE</VALUE></PARAMVALUE></IMETHODRESPONSE>"),
       "\n"},
      {"\xEF\xBB\xBF" + instances("<!-- none - yet --><?note none?>"), ""},
      {instances("<VALUE.NAMEDINSTANCE>" + name +
                 "<INSTANCE CLASSNAME='Acme_Pump'><QUALIFIER NAME='Q'/>"
                 "<PROPERTY NAME='B' TYPE='uint16'><VALUE>5</VALUE></PROPERTY>"
                 "<PROPERTY TYPE='string' ORIGIN='x' NAME='A'><VALUE/></PROPERTY></INSTANCE>"
                 "</VALUE.NAMEDINSTANCE><!-- next --><INSTANCE CLASSNAME='Acme_Pump'/>\n"
                 "<VALUE.OBJECTWITHPATH><INSTANCE><PROPERTY NAME='C' TYPE='datetime'/></INSTANCE>"
                 "</VALUE.OBJECTWITHPATH>"),
       "B uint16=5; A string=; \n\nC datetime; \n"},
      {property("TYPE='string'><VALUE>  </VALUE>"), "P string=  ; \n"},
      {property(
           "TYPE='string'><VALUE> a<!-- , -->&lt;&#x41;&#233;<![CDATA[&<b>]]> \t\x01\n</VALUE>"),
       "P string= a<A\u00e9&<b> \t\x01\n; \n"},
      {property("TYPE='STRING'><VALUE>NULL</VALUE>"), "P string=NULL; \n"},
      {property("TYPE='boolean'><VALUE>True</VALUE>"), "P boolean=TRUE; \n"},
      {property("TYPE='Own'><VALUE>\r\n</VALUE>"), "P Own=\r\n; \n"},
      {property("EmbeddedObject='instance' TYPE='string'><VALUE>&lt;INSTANCE A=&quot;&amp;amp;"
                "&quot;/&gt;</VALUE>"),
       "P string=<INSTANCE A=\"&amp;\"/>; \n"},
      {instances("<INSTANCE><PROPERTY.ARRAY NAME='N' TYPE='uint8'/><PROPERTY.ARRAY NAME='E' "
                 "TYPE='string'><VALUE.ARRAY/></PROPERTY.ARRAY><PROPERTY.ARRAY NAME='A' "
                 "TYPE='boolean'><VALUE.ARRAY><VALUE>false</VALUE><VALUE.NULL/><VALUE>TRUE</VALUE>"
                 "</VALUE.ARRAY></PROPERTY.ARRAY></INSTANCE>"),
       "N uint8[]; E string[]=; A boolean[]=FALSE |  | TRUE; \n"},
      {instances(
           "<INSTANCE><PROPERTY.REFERENCE NAME='N' REFERENCECLASS='Acme_Pump'/>"
           "<PROPERTY.REFERENCE NAME='L'>" +
           reference("<LOCALINSTANCEPATH>" + path + name + "</LOCALINSTANCEPATH>") +
           "</PROPERTY.REFERENCE><PROPERTY.REFERENCE NAME='H'>" +
           reference("<INSTANCEPATH><NAMESPACEPATH><HOST>pump:1</HOST>" + path +
                     "</NAMESPACEPATH>" + name + "</INSTANCEPATH>") +
           "</PROPERTY.REFERENCE><PROPERTY.REFARRAY NAME='R'><VALUE.REFARRAY>" +
           reference("<LOCALCLASSPATH>" + path + "<CLASSNAME NAME='Acme_Pump'/></LOCALCLASSPATH>") +
           reference(nested(1)) + "</VALUE.REFARRAY></PROPERTY.REFARRAY></INSTANCE>"),
       "N reference; L reference=" + local + "; H reference=//pump:1/" + local +
           "; R reference[]=root/acme:Acme_Pump | Acme_On.Of=\"Acme_Pump=\\\"x\\\"\"; \n"},
  };
  for (const Case& c : cases) EXPECT_EQ(read(Operation::kIntrinsic, c.document), c.expected);
}

// What is no value of its type is NULL, and the trace says what it was.
TEST(CIMXMLResponse, ValuesAreOfTheirTypes) {
  const struct {
    std::string type;
    std::string good;  // separated by blanks, as all of these
    std::string wrong;
  } kCases[] = {
      {"boolean", "true FALSE", "maybe 1 TRU"},
      {"uint8", "0 255 +7", "256 -1 12x 1.5 0x10 +-1 --1"},
      {"sint8", "-128 127", "128 -129 - ++1"},
      {"uint16", "65535", "65536"},
      {"sint16", "-32768", "-32769"},
      {"uint32", "4294967295", "4294967296"},
      {"sint32", "-2147483648", "2147483648"},
      {"uint64", "18446744073709551615", "18446744073709551616"},
      {"sint64", "-9223372036854775808", "9223372036854775808"},
      {"real32", "1.5 -2e3 0", "1e39 inf nan x 0x1p3"},
      {"real64", "1e39", "1e999 -INF 1.5.5"},
      {"string", "maybe", ""},
  };
  const auto words = [](const std::string& text) {
    std::istringstream stream(text);
    return std::vector<std::string>(std::istream_iterator<std::string>(stream), {});
  };
  const auto readOne = [](const std::string& type, const std::string& text) {
    return read(Operation::kIntrinsic, property("TYPE='" + type + "'><VALUE>" + text + "</VALUE>"));
  };
  testing::internal::CaptureStderr();
  for (const auto& [type, good, wrong] : kCases) {
    for (const std::string& text : words(good)) {
      const std::string shown = text == "true" ? "TRUE" : text;
      EXPECT_EQ(readOne(type, text), "P " + type + '=' + shown + "; \n");
      if (type == "string" || type == "boolean") continue;
      EXPECT_EQ(readOne(type, " " + text + "\n"), "P " + type + '=' + shown + "; \n");
    }
    for (const std::string& text : words(wrong))
      EXPECT_EQ(readOne(type, text), "P " + type + "; \n") << text;
  }
  EXPECT_EQ(readOne("uint32", ""), "P uint32; \n");
  EXPECT_EQ(read(Operation::kIntrinsic,
                 instances("<INSTANCE><PROPERTY.ARRAY NAME='A' TYPE='uint8'><VALUE.ARRAY><VALUE>1"
                           "</VALUE><VALUE>300</VALUE></VALUE.ARRAY></PROPERTY.ARRAY></INSTANCE>")),
            "A uint8[]=1 | ; \n");
  const std::string traced = testing::internal::GetCapturedStderr();
  for (const char* line : {" 'maybe' of P is no value of type 'boolean'\n",
                           " '300' of A is no value of type 'uint8'\n"})
    EXPECT_NE(traced.find(line), std::string::npos) << traced;
}

TEST(CIMXMLResponse, Methods) {
  const Case cases[] = {
      {method(""), "\n"},
      {method("<PARAMVALUE NAME='a'><VALUE>x</VALUE></PARAMVALUE><RETURNVALUE PARAMTYPE='uint32'>"
              "<VALUE>4</VALUE></RETURNVALUE>"),
       "ReturnValue uint32=4; a string=x; \n"},
      {method("<RETURNVALUE/><PARAMVALUE NAME='n' PARAMTYPE='sint8'/><PARAMVALUE NAME='l' "
              "PARAMTYPE='char16'><VALUE.ARRAY><VALUE>a</VALUE></VALUE.ARRAY></PARAMVALUE>"),
       "ReturnValue string; n sint8; l char16[]=a; \n"},
      {method("<PARAMVALUE NAME='r'>" + reference(kName) + "</PARAMVALUE><PARAMVALUE NAME='s'>" +
              kName +
              "</PARAMVALUE><PARAMVALUE NAME='c'><CLASSNAME NAME='Acme_Pump'/></PARAMVALUE>"),
       "r reference=" + std::string(kNameText) + "; s reference=" + kNameText +
           "; c reference=Acme_Pump; \n"},
      {method("<PARAMVALUE NAME='i'><VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME='X'/><INSTANCE "
              "CLASSNAME='X'><PROPERTY NAME='P'><VALUE>&lt;</VALUE></PROPERTY></INSTANCE>"
              "</VALUE.NAMEDINSTANCE></PARAMVALUE>"),
       "i string=<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"P\"><VALUE>&lt;</VALUE></PROPERTY>"
       "</INSTANCE>; \n"},
      // The elements of other operations are no instances here.
      {method("<IRETURNVALUE/>"), "0 the answer is not CIM-XML: <IRETURNVALUE> where it does"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(read(Operation::kExtrinsic, c.document).substr(0, c.expected.size()), c.expected);
}

TEST(CIMXMLResponse, Refuses) {
  const auto error = [](const std::string& rest) {
    return message("<IMETHODRESPONSE NAME='EnumerateInstances'>" + rest + "</IMETHODRESPONSE>");
  };
  const std::string big(kLimits.element + 1, 'x');
  std::string deep;
  std::string attributes;
  for (int i = 0; i <= 64; ++i) attributes += " a" + std::to_string(i) + "=''";
  for (int level = 0; level < kLimits.depth; ++level) deep += "<a>";
  const std::string good = instances("<INSTANCE/>");
  const Case cases[] = {
      // The server's own errors, with or without instances.
      {error("<ERROR CODE='5' DESCRIPTION='no &quot;class&quot;'/>"),
       "5 CIM request failed (error code: 5): no \"class\""},
      {error("<ERROR CODE='six'/>"), "1 CIM request failed (error code: 1)"},
      {error("<IRETURNVALUE><INSTANCE/></IRETURNVALUE><ERROR CODE='200'/>"), "200 CIM request"},
      {"<CIM><MESSAGE ID=''><SIMPLERSP><METHODRESPONSE NAME=''><ERROR CODE='2'/></METHODRESPONSE>"
       "</SIMPLERSP></MESSAGE></CIM>",
       "2 CIM request failed"},
      // Not the answer to this request.
      {"<html/>", "0 the answer is not CIM-XML: the root element is <html>"},
      {"<CIM/>", "0 the answer is not CIM-XML: <CIM> holds 0 elements instead of one"},
      {"<CIM><MESSAGE ID='8'><SIMPLERSP><IMETHODRESPONSE/></SIMPLERSP></MESSAGE></CIM>",
       "0 the answer is to another request: its ID is '8' instead of '7'"},
      {message("<IMETHODRESPONSE NAME='GetClass'/>"), "0 the answer is to another request"},
      {method(""), "0 the answer is to another request: its element is 'METHODRESPONSE'"},
      {error("<IRETURNVALUE/><IRETURNVALUE/>"), "0 the answer is not CIM-XML: <IRETURNVALUE>"},
      {message("<IMETHODRESPONSE/><IMETHODRESPONSE/>"), "holds 2 elements"},
      // Not what an instance looks like.
      {instances("<CLASS NAME='x'/>"), "<CLASS> where an instance belongs in the element at byte"},
      {instances("<VALUE.OBJECT><CLASS/></VALUE.OBJECT>"), "<VALUE.OBJECT> without an INSTANCE"},
      {instances("x"), "0 the answer is not XML: text between the elements of <IRETURNVALUE>"},
      {instances("<![CDATA[ ]]>"), "a CDATA section where no text belongs"},
      {instances("<INSTANCE><PROPERTY TYPE='string'/></INSTANCE>"), "<PROPERTY> without a NAME"},
      {instances("<INSTANCE><METHOD/></INSTANCE>"), "<METHOD> where it does not belong"},
      {property("><VALUE/><VALUE/>"), "<VALUE> where it does not belong"},
      {property("><VALUE>a<b/></VALUE>"), "<b> where it does not belong"},
      {property("><VALUE.ARRAY><b/></VALUE.ARRAY>"), "<b> where it does not belong"},
      {property(">" + reference("<HOST/>")), "<HOST> where it does not belong"},
      {property(">" + reference("<CLASSNAME/>")), "<CLASSNAME> without the name of a class"},
      {property(">" + reference(nested(4))), "references within references"},
      // Limits.
      {property("><VALUE>" + big + "</VALUE>"), "holds an element of more than 4096 bytes"},
      {error("<!--" + big + "-->"), "the answer holds more than 4096 bytes beside its instances"},
      {"<CIM" + attributes + "/>", "more than 64 attributes in one tag"},
      {deep + "<a>", "more than 24 nested elements at byte 72"},
      // Not XML.
      {"", "0 the answer is cut off: it is empty"},
      {good.substr(0, good.size() - 2), "the answer is cut off: it ends inside of <CIM> at byte"},
      {"<CIM/><!-", "the answer is cut off: it ends outside of every element"},
      {"no", "0 the answer is not XML: text outside of the root element at byte 0"},
      {good + "x", "text outside of the root element"},
      {good + "<CIM/>", "a second root element"},
      {" <?xml version='1.0'?><CIM/>", "a misplaced XML declaration at byte 1"},
      {"<?xml encoding='utf-8'?><CIM/>", "a malformed XML declaration"},
      {"<?xml version='1.0' encoding='latin1'?><CIM/>", "the encoding 'latin1'"},
      {"<!DOCTYPE CIM [<!ENTITY a 'b'>]><CIM/>", "a document type or other declaration at byte 0"},
      {"<CIM><MESSAGE></CIM>", "the end tag </CIM> of <MESSAGE> at byte 14"},
      {"<CIM></CIM></CIM>", "the end tag </CIM> of no element"},
      {std::string("<CIM>\0</CIM>", 12), "a NUL byte at byte 5"},
      {"<CIM ID=1/>", "the attribute 'ID' without a quoted value"},
      {"<CIM ID/>", "the attribute 'ID' without a quoted value"},
      {"<CIM A='' B='' A=''/>", "the attribute 'A' twice in one tag"},
      {"<CIM A=''B=''/>", "a malformed tag"},
      {"<CIM / >", "a malformed tag"},
      {"<CIM A='<'/>", "'<' within a tag at byte 8"},
      {"<CIM <", "'<' within a tag at byte 5"},
      {"< CIM/>", "a tag without a name"},
      {"<CIM></CIM a=''>", "a malformed end tag"},
      {"<CIM><!-- a -- b --></CIM>", "'--' within a comment at byte 12"},
      {"<CIM A='&nbsp;'/>", "the reference to an unknown entity or character at byte 8"},
      {"<CIM>&#0;</CIM>", "unknown entity or character"},
      {"<CIM>&#xD800;</CIM>", "unknown entity or character"},
      {"<CIM>&#x110000;</CIM>", "unknown entity or character"},
      {"<CIM>&#;</CIM>", "unknown entity or character"},
      {"<CIM>&amp</CIM>", "'&' that begins no reference at byte 5"},
  };
  for (const Case& c : cases)
    EXPECT_NE(read(Operation::kIntrinsic, c.document).find(c.expected), std::string::npos)
        << c.document.substr(0, 512) << "\nis expected to give: " << c.expected
        << "\nbut gives: " << read(Operation::kIntrinsic, c.document, c.document.size());
  // The depth itself is allowed.
  EXPECT_NE(read(Operation::kIntrinsic, deep).find("cut off"), std::string::npos);
}

}  // namespace
}  // namespace brv
