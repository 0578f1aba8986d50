// ws2_32.dll as the loader knows it.
#include "platform/module.h"

#include <iterator>

#include "ws2_32/functions.h"

namespace platform::ws2_32 {
namespace {

const ModuleExport kExports[] = {
    {"closesocket", ExportAddress(&CloseSocket)},
    {"connect", ExportAddress(&Connect)},
    {"freeaddrinfo", ExportAddress(&FreeLookUp)},
    {"getaddrinfo", ExportAddress(&LookUp)},
    {"gethostbyname", ExportAddress(&HostByName)},
    {"gethostname", ExportAddress(&HostName)},
    {"getnameinfo", ExportAddress(&NameOf)},
    {"getservbyname", ExportAddress(&ServiceByName)},
    {"getsockopt", ExportAddress(&GetSocketOption)},
    {"htonl", ExportAddress(&HostToNetworkLong)},
    {"htons", ExportAddress(&HostToNetworkShort)},
    {"inet_ntoa", ExportAddress(&AddressToDottedText)},
    {"inet_ntop", ExportAddress(&AddressToText)},
    {"inet_pton", ExportAddress(&AddressFromText)},
    {"ioctlsocket", ExportAddress(&ControlSocket)},
    {"recv", ExportAddress(&Receive)},
    {"select", ExportAddress(&Select)},
    {"send", ExportAddress(&Send)},
    {"setsockopt", ExportAddress(&SetSocketOption)},
    {"shutdown", ExportAddress(&Shutdown)},
    {"socket", ExportAddress(&CreateSocket)},
    {"WSAAsyncSelect", ExportAddress(&AsyncSelect)},
    {"WSACleanup", ExportAddress(&Cleanup)},
    {"WSAEnumProtocolsA", ExportAddress(&EnumerateProtocols)},
    {"WSAGetLastError", ExportAddress(&LastSocketError)},
    {"WSASetLastError", ExportAddress(&SetLastSocketError)},
    {"WSAStartup", ExportAddress(&Startup)},
};

const Module kModule = {"ws2_32.dll", kExports, std::size(kExports), nullptr, 0, nullptr};

struct Attachment {
  Attachment() { AttachModule(kModule); }
  ~Attachment() { DetachModule(kModule); }
};
const Attachment attachment;

}  // namespace
}  // namespace platform::ws2_32
