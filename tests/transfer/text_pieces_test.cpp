// Texts whose bodies come in two pieces, with the cut at every place: it never shows.
#include <gtest/gtest.h>
#include <zlib.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "support/raw_server.h"
#include "support/temp_dir.h"
#include "support_library/session_fixture.h"

namespace test {
namespace {

constexpr UINT kUtf8 = 65001;
constexpr UINT kWestern = 1252;
constexpr std::size_t kBuffer = 256;

// Characters of one to four bytes, and line ends of both kinds at the cuts' favourite places.
const std::string kText =
    "a\xc3\xa9\n\xe2\x82\xac\r\n\r\n\xf0\x9f\x98\x80\n\n\r\xc3\xbc z\r\n\xf0\x9f\x98\x80";

std::string AsBytes(const std::u16string& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

std::string Zlib(const std::string& content) {
  std::string out(compressBound(static_cast<uLong>(content.size())), '\0');
  uLongf length = static_cast<uLongf>(out.size());
  EXPECT_EQ(
      compress(reinterpret_cast<Bytef*>(out.data()), &length,
               reinterpret_cast<const Bytef*>(content.data()), static_cast<uLong>(content.size())),
      Z_OK);
  out.resize(length);
  return out;
}

// A server that sends the same text again and again, cut elsewhere each time.
class CutServer {
 public:
  CutServer(std::string body, HeaderLines headers)
      : body_(std::move(body)), headers_(std::move(headers)), server_([this](Connection& c) {
          while (c.ReadRequest()) Answer(c);
        }) {}

  std::uint16_t port() const { return server_.port(); }
  std::size_t size() const { return body_.size(); }

  // How the next answers are cut: in two chunks, or in two segments of a body with a length.
  void Cut(std::size_t at, bool chunked) {
    cut_ = at;
    chunked_ = chunked;
  }

 private:
  void Answer(Connection& connection) const {
    const std::string reply =
        chunked_ ? ChunkedResponse("200 OK", headers_, {body_.substr(0, cut_), body_.substr(cut_)})
                 : Response("200 OK", headers_, body_);
    // The pause makes it likely, not certain, that the client takes the pieces one by one.
    const std::size_t first = reply.size() - (chunked_ ? body_.size() / 2 : body_.size() - cut_);
    connection.SendInPieces(reply.substr(0, first), first, std::chrono::milliseconds(0));
    WaitUntil([] { return false; }, std::chrono::milliseconds(1));
    connection.SendInPieces(reply.substr(first), reply.size(), std::chrono::milliseconds(0));
  }

  const std::string body_;
  const HeaderLines headers_;
  std::atomic<std::size_t> cut_{0};
  std::atomic<bool> chunked_{false};
  RawServer server_;
};

class TextPiecesTest : public SessionTest {
 protected:
  struct Reader {
    const char* name;
    std::function<std::string(HCLIENT)> read;
  };

  std::vector<Reader> Readers() const {
    return {
        {"HttpGetDataA", [](HCLIENT h) { return Get(h, "/t", HTTP_TRANSFER_CONVERT).body; }},
        {"HttpGetTextA",
         [](HCLIENT h) {
           char text[kBuffer] = "";
           return std::to_string(HttpGetTextA(h, "/t", text, kBuffer)) + text;
         }},
        {"HttpGetTextW",
         [](HCLIENT h) {
           WCHAR text[kBuffer] = u"";
           return std::to_string(HttpGetTextW(h, u"/t", text, kBuffer)) + AsBytes(text);
         }},
        {"HttpGetTextExA",
         [](HCLIENT h) {
           std::string both;
           for (const UINT code_page : {kUtf8, kWestern}) {
             char text[kBuffer] = "";
             INT length = kBuffer;
             both += std::to_string(HttpGetTextExA(h, "/t", text, &length, code_page, 0)) + text;
           }
           return both;
         }},
        {"HttpGetTextExW",
         [](HCLIENT h) {
           WCHAR text[kBuffer] = u"";
           INT length = kBuffer;
           return std::to_string(HttpGetTextExW(h, u"/t", text, &length, 0, 0)) + AsBytes(text);
         }},
        {"HttpPostTextExA",
         [](HCLIENT h) {
           char text[kBuffer] = "";
           DWORD length = kBuffer;
           return std::to_string(HttpPostTextExA(h, "/t", "x", text, &length, kUtf8, 0)) + text;
         }},
        {"HttpPostTextExW",
         [](HCLIENT h) {
           WCHAR text[kBuffer] = u"";
           DWORD length = kBuffer;
           return std::to_string(HttpPostTextExW(h, u"/t", u"x", text, &length, kUtf8, 0)) +
                  AsBytes(text);
         }},
        {"HttpGetFileA",
         [this](HCLIENT h) {
           const std::string path = folder_.file("text");
           const INT result = HttpGetFileA(h, path.c_str(), "/t", HTTP_TRANSFER_CONVERT, 0);
           return std::to_string(result) + folder_.Read("text");
         }},
    };
  }

  // Reads a body with every cut; all results are those of the body in one piece.
  void TryAllCuts(CutServer& server, const Reader& reader) {
    SCOPED_TRACE(reader.name);
    const HCLIENT session = Connect(server.port(), HTTP_OPTION_KEEPALIVE);
    server.Cut(0, false);
    const std::string whole = reader.read(session);
    for (const bool chunked : {false, true}) {
      for (std::size_t cut = 1; cut < server.size(); ++cut) {
        server.Cut(cut, chunked);
        ASSERT_EQ(reader.read(session), whole) << (chunked ? "chunks, " : "segments, ") << cut;
      }
    }
  }

  TempDir folder_;
};

TEST_F(TextPiecesTest, CutsDoNotShow) {
  CutServer server(kText, {"Content-Type: text/plain; charset=utf-8"});
  for (const Reader& reader : Readers()) TryAllCuts(server, reader);
}

TEST_F(TextPiecesTest, NorInTextThatIsNotUtf8) {
  const std::u16string utf16 = u"\ufeffa\n\r\n\U0001F600\u0d0a\u0a0d\n";
  const std::string western = "caf\xe9\n\x80 \r\n\xe9\xa9\n";
  for (const std::string& body : {AsBytes(utf16), western}) {
    CutServer server(body, {"Content-Type: text/plain"});
    for (const std::size_t i : {0u, 3u, 4u, 7u}) TryAllCuts(server, Readers()[i]);
  }
}

TEST_F(TextPiecesTest, NorInCompressedText) {
  CutServer server(Zlib(kText), {"Content-Type: text/plain", "Content-Encoding: deflate"});
  TryAllCuts(server, Readers().back());
  const Reader memory{"compressed", [](HCLIENT h) {
                        return Get(h, "/t", HTTP_TRANSFER_COMPRESS | HTTP_TRANSFER_CONVERT).body;
                      }};
  TryAllCuts(server, memory);
}

// What the results above have in common with each other.
TEST_F(TextPiecesTest, TheWholeTextIsConvertedAsOneExpects) {
  const std::string file =
      "a\xc3\xa9\r\n\xe2\x82\xac\r\n\r\n\xf0\x9f\x98\x80\r\n\r\n\r\xc3\xbc z\r\n\xf0\x9f\x98\x80";
  for (const bool compressed : {false, true}) {
    HeaderLines headers = {"Content-Type: text/plain"};
    if (compressed) headers.push_back("Content-Encoding: deflate");
    CutServer server(compressed ? Zlib(kText) : kText, headers);
    server.Cut(10, true);
    EXPECT_EQ(Readers().back().read(Connect(server.port())), "200" + file);
  }
}

// Line ends astride the places where the library's own buffers end.
TEST_F(TextPiecesTest, LineEndsBetweenBuffers) {
  for (const std::size_t size : {65536u, 262144u}) {
    for (const std::size_t before : {size - 1, size}) {
      const std::string body = std::string(before, 'x') + "\r\n" + std::string(size, 'y') + "\n";
      const std::string expected =
          std::string(before, 'x') + "\r\n" + std::string(size, 'y') + "\r\n";
      for (const bool compressed : {false, true}) {
        HeaderLines headers = {"Content-Type: text/plain"};
        if (compressed) headers.push_back("Content-Encoding: deflate");
        const RawServer server(
            OneConnection({Response("200 OK", headers, compressed ? Zlib(body) : body)}));
        const std::string path = folder_.file("text");
        EXPECT_EQ(HttpGetFileA(Connect(server.port()), path.c_str(), "/", HTTP_TRANSFER_CONVERT, 0),
                  200);
        EXPECT_TRUE(folder_.Read("text") == expected) << before << (compressed ? " zlib" : "");
      }
    }
  }
}

}  // namespace
}  // namespace test
