// SPDX-License-Identifier: Apache-2.0
// cim_server SOCKET
//
// A CIM server that answers every EnumerateInstances of a class Bench_<count> with that many
// instances of ten properties, in chunks and with a trailer. One connection at a time, for ever.
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

enum { kChunk = 47 * 1024, kRequest = 64 * 1024 };

static void fail(const char* what) {
  fprintf(stderr, "cim_server: %s: %s\n", what, strerror(errno));
  exit(1);
}

static int sendAll(int connection, const char* bytes, size_t size) {
  while (size > 0) {
    const ssize_t sent = send(connection, bytes, size, MSG_NOSIGNAL);
    if (sent < 0) return -1;
    bytes += sent;
    size -= (size_t)sent;
  }
  return 0;
}

static char chunk[kChunk + 4096];
static size_t used;

static int flush(int connection) {
  char size[16];
  const int length = snprintf(size, sizeof(size), "%zx\r\n", used);
  memcpy(chunk + used, "\r\n", 2);
  const int failed = used > 0 && (sendAll(connection, size, (size_t)length) != 0 ||
                                  sendAll(connection, chunk, used + 2) != 0);
  used = 0;
  return failed ? -1 : 0;
}

__attribute__((format(printf, 2, 3))) static int put(int connection, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  used += (size_t)vsnprintf(chunk + used, sizeof(chunk) - used, format, arguments);
  va_end(arguments);
  return used >= kChunk ? flush(connection) : 0;
}

// As long as what servers say of a process or a port; one value in three differs between instances.
static int putInstance(int connection, unsigned long number) {
  return put(connection,
             "<VALUE.NAMEDINSTANCE>\n<INSTANCENAME CLASSNAME=\"Bench_Item\">\n"
             "<KEYBINDING NAME=\"Handle\">\n<KEYVALUE VALUETYPE=\"string\">%lu</KEYVALUE>\n"
             "</KEYBINDING>\n</INSTANCENAME>\n<INSTANCE CLASSNAME=\"Bench_Item\">\n",
             number) |
         put(connection,
             "<PROPERTY NAME=\"Handle\" TYPE=\"string\">\n<VALUE>%lu</VALUE>\n</PROPERTY>\n"
             "<PROPERTY NAME=\"Name\" TYPE=\"string\">\n<VALUE>item &lt;%lu&gt;</VALUE>\n"
             "</PROPERTY>\n<PROPERTY NAME=\"KernelModeTime\" TYPE=\"uint64\">\n<VALUE>%lu</VALUE>\n"
             "</PROPERTY>\n<PROPERTY NAME=\"CreationClassName\" TYPE=\"string\">\n"
             "<VALUE>Bench_Item</VALUE>\n</PROPERTY>\n",
             number, number, number * 37) |
         put(connection,
             "<PROPERTY NAME=\"Enabled\" TYPE=\"boolean\">\n<VALUE>TRUE</VALUE>\n</PROPERTY>\n"
             "<PROPERTY NAME=\"Priority\" TYPE=\"uint32\">\n<VALUE>20</VALUE>\n</PROPERTY>\n"
             "<PROPERTY NAME=\"CreationDate\" TYPE=\"datetime\">\n"
             "<VALUE>20240229123456.654321+060</VALUE>\n</PROPERTY>\n"
             "<PROPERTY.ARRAY NAME=\"OperationalStatus\" TYPE=\"uint16\">\n<VALUE.ARRAY>\n"
             "<VALUE>2</VALUE>\n<VALUE>5</VALUE>\n</VALUE.ARRAY>\n</PROPERTY.ARRAY>\n"
             "<PROPERTY NAME=\"Caption\" TYPE=\"string\">\n</PROPERTY>\n"
             "<PROPERTY NAME=\"Ratio\" TYPE=\"real64\">\n<VALUE>1.0000000000000001e-01</VALUE>\n"
             "</PROPERTY>\n</INSTANCE>\n</VALUE.NAMEDINSTANCE>\n");
}

static int answer(int connection, const char* request) {
  const char* id = strstr(request, "MESSAGE ID=\"");
  const char* class = strstr(request, "CLASSNAME NAME=\"Bench_");
  if (id == NULL || class == NULL) return -1;
  const unsigned long count = strtoul(class + strlen("CLASSNAME NAME=\"Bench_"), NULL, 10);
  static const char head[] =
      "HTTP/1.1 200 OK\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n"
      "CIMOperation: MethodResponse\r\nTransfer-encoding: chunked\r\n"
      "Trailer: CIMError, CIMStatusCode, CIMStatusCodeDescription\r\n\r\n";
  static const char end[] = "0\r\nCIMStatusCode: 0\r\n\r\n";
  int failed = sendAll(connection, head, strlen(head));
  failed |= put(connection,
                "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
                "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n"
                "<MESSAGE ID=\"%ld\" PROTOCOLVERSION=\"1.0\">\n<SIMPLERSP>\n"
                "<IMETHODRESPONSE NAME=\"EnumerateInstances\">\n<IRETURNVALUE>\n",
                strtol(id + strlen("MESSAGE ID=\""), NULL, 10));
  for (unsigned long i = 0; i < count && !failed; ++i) failed = putInstance(connection, i);
  failed |=
      put(connection, "</IRETURNVALUE>\n</IMETHODRESPONSE>\n</SIMPLERSP>\n</MESSAGE>\n</CIM>\n");
  return failed | flush(connection) | sendAll(connection, end, strlen(end));
}

// A request ends with its document: nothing else is sent here.
static void serve(int connection) {
  static char request[kRequest + 1];
  size_t size = 0;
  for (;;) {
    const ssize_t got = recv(connection, request + size, kRequest - size, 0);
    if (got <= 0) return;
    size += (size_t)got;
    request[size] = '\0';
    if (strstr(request, "</CIM>") == NULL) continue;
    if (answer(connection, request) != 0) return;
    size = 0;
  }
}

int main(int argc, char** argv) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  if (argc != 2 || strlen(argv[1]) >= sizeof(address.sun_path)) {
    fprintf(stderr, "usage: cim_server SOCKET\n");
    return 1;
  }
  memcpy(address.sun_path, argv[1], strlen(argv[1]) + 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listener < 0) fail("socket");
  if (bind(listener, (const struct sockaddr*)&address, sizeof(address)) != 0) fail(argv[1]);
  if (listen(listener, 16) != 0) fail("listen");
  for (;;) {
    const int connection = accept(listener, NULL, NULL);
    if (connection < 0) fail("accept");
    serve(connection);
    close(connection);
  }
}
