// SPDX-License-Identifier: Apache-2.0
#include "cimb/Usage.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "runtime/VisibleText.h"

namespace brv {

namespace {

constexpr char kUsage[] =
    "Usage: brvcimb <operation> [option]...\n"
    "\n"
    "Generic CIM operations:\n"
    "    -enumi,e\n"
    "            enumerate instances of class name specified by -class\n"
    "    -enumiall,A\n"
    "            enumerate all available instances\n"
    "    -assoc,a\n"
    "            enumerate associators of class name or instance specified by -class\n"
    "    -exec,x\n"
    "            execute method of object specified by -class and -prop\n"
    "\n"
    "Convenient operations:\n"
    "    -olmod\n"
    "            enumerate base classes of BRV_OLMOD computer system model\n"
    "    -capabilities\n"
    "            enumerate broker and provider capabilities\n"
    "    -provider\n"
    "            enumerate providers\n"
    "\n"
    "Options:\n"
    "    -class,c\n"
    "            specify class name\n"
    "    -namespace,n\n"
    "            specify name space\n"
    "    -assocClass,C\n"
    "            filter by specified association class name\n"
    "    -prop,p key=val[&key=val...]\n"
    "            specify key properties\n"
    "    -args,i name=[(type)]val[&name=(type)val...]\n"
    "            specify method arguments, default type is string.\n"
    "    -swpackages\n"
    "            include SoftwarePackage instances (-olmod option)\n"
    "    -swpatches\n"
    "            include SoftwarePatch instances (-olmod option)\n"
    "    -continue-on-error,E\n"
    "            continue on error\n"
    "    -metadata,M\n"
    "            print metadata\n"
    "    -nonull,N\n"
    "            omit NULL values\n"
    "    -format,F\n"
    "            print in parsable format [tree (default),flat,table,json]\n"
    "    -tracelevel,T\n"
    "            specify trace level (0...3 [1])\n"
    "    -debug,-d\n"
    "            debug output (same as -tracelevel 3)\n"
    "    -help,-h\n"
    "            This help text\n"
    "\n";

// The message is not ours alone: an argument, a name or a provider's text is part of it.
void print(const char* head, std::string_view message, const char* tail) {
  const VisibleLine line(message);
  std::fprintf(stderr, "%s%.*s%s", head, static_cast<int>(line.view().size()), line.view().data(),
               tail);
}

}  // namespace

void PrintUsageHint(const char* format, ...) {
  std::string message = "Invalid usage.";
  if (format != nullptr) {
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, arguments);
    message.resize(static_cast<std::size_t>(std::max(size, 0)));
    std::vsnprintf(message.data(), message.size() + 1, format, again);
    va_end(again);
    va_end(arguments);
  }
  print("", message, "\nTry 'brvcimb -help' for more information.\n");
}

void PrintUsage() {
  std::fputs(kUsage, stderr);
}

void PrintError(const char* text) {
  print("Error: ", text, "\n");
}

}  // namespace brv
