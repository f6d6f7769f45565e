// The pieces of tidewell's output that every subcommand shares: byte strings in JSON, names and
// counts for people, and the wait for a scan's end.
#include "cli/JsonBytes.h"
#include "cli/ScanCompletion.h"
#include "cli/Terminal.h"

#include "Core/platform/Dispatch.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

using tidewell::base64Decoded;
using tidewell::base64Encoded;
using tidewell::bytesFromJson;
using tidewell::jsonBytes;

namespace {

std::string randomBytes(std::mt19937& generator, std::size_t length) {
    std::uniform_int_distribution<int> byte(0, 255);
    std::string bytes;
    for (std::size_t index = 0; index < length; ++index)
        bytes += static_cast<char>(byte(generator));
    return bytes;
}

TEST(JsonBytesTest, UTF8IsAPlainStringAndAnythingElseIsBase64) {
    EXPECT_EQ(jsonBytes("/home/ann/caf\xc3\xa9"), nlohmann::json("/home/ann/caf\xc3\xa9"));
    EXPECT_EQ(jsonBytes(""), nlohmann::json(""));
    EXPECT_EQ(jsonBytes(std::string("a\0b", 3)), nlohmann::json(std::string("a\0b", 3)));
    EXPECT_EQ(jsonBytes("/tmp/\xff"), nlohmann::json::parse(R"({"base64": "L3RtcC//"})"));
    // Overlong forms, UTF-16 surrogates and a cut-off sequence are not UTF-8 either.
    for (const char* bytes : {"\xc0\xaf", "\xed\xa0\x80", "caf\xc3"})
        EXPECT_TRUE(jsonBytes(bytes).is_object()) << bytes;
}

TEST(JsonBytesTest, Base64IsTheStandardAlphabetWithPadding) {
    const std::vector<std::pair<std::string, std::string>> vectors = {{"", ""},
                                                                      {"f", "Zg=="},
                                                                      {"fo", "Zm8="},
                                                                      {"foo", "Zm9v"},
                                                                      {"foob", "Zm9vYg=="},
                                                                      {"fooba", "Zm9vYmE="},
                                                                      {"foobar", "Zm9vYmFy"},
                                                                      {"\xfb\xff", "+/8="}};
    for (const auto& [bytes, text] : vectors) {
        EXPECT_EQ(base64Encoded(bytes), text);
        EXPECT_EQ(base64Decoded(text), bytes) << text;
    }
}

TEST(JsonBytesTest, RandomBytesSurviveTheRoundTripThroughJsonText) {
    std::mt19937 generator(20261123);
    for (std::size_t length = 0; length < 2000; ++length) {
        auto bytes = randomBytes(generator, length % 67);
        auto text = jsonBytes(bytes).dump();
        EXPECT_EQ(bytesFromJson(nlohmann::json::parse(text)), bytes) << text;
    }
}

TEST(JsonBytesTest, DecodingRefusesWhatTheEncoderNeverWrites) {
    for (const char* document :
         {R"(42)", R"(null)", R"(["a"])", R"({})", R"({"base64": 5})", R"({"base64": "L3RtcC//", "x": 1})",
          R"({"Base64": "L3RtcC//"})",
          // Not a multiple of four, padding inside, whitespace, a digit outside the alphabet.
          R"({"base64": "L3RtcC/"})", R"({"base64": "Zg==Zm8="})", R"({"base64": "L3Rt cC//"})",
          R"({"base64": "L3RtcC-_"})", R"({"base64": "===="})", R"({"base64": "Z==="})",
          // Unused bits set: "Zh==" would decode to the same byte as "Zg==".
          R"({"base64": "Zh=="})", R"({"base64": "Zm9="})",
          // Valid UTF-8 has the plain string as its one form.
          R"({"base64": "Zm9v"})"})
        EXPECT_EQ(bytesFromJson(nlohmann::json::parse(document)), std::nullopt) << document;
    EXPECT_EQ(bytesFromJson(nlohmann::json(std::string("\xff"))), std::nullopt);
}

TEST(PrintableTest, ControlCharactersAndForeignBytesBecomeEscapes) {
    using tidewell::printable;
    EXPECT_EQ(printable("two\nlines\ttab\rcr"), "two\\nlines\\ttab\\rcr");
    EXPECT_EQ(printable("\x1b[31mred\x7f"), "\\x1B[31mred\\x7F");
    EXPECT_EQ(printable("csi\xc2\x9b"), "csi\\xC2\\x9B");
    EXPECT_EQ(printable("bad\xff\xfe"), "bad\\xFF\\xFE");
    EXPECT_EQ(printable("cut\xe6\x97"), "cut\\xE6\\x97");
    EXPECT_EQ(printable(std::string("nul\0", 4)), "nul\\x00");
    EXPECT_EQ(printable("a\\nb"), "a\\\\nb");
    EXPECT_EQ(printable("caf\xc3\xa9 \xe6\x97\xa5 \"quoted\" 'single'"),
              "caf\xc3\xa9 \xe6\x97\xa5 \"quoted\" 'single'");
}

TEST(CountedTest, OneIsSingularEverythingElsePlural) {
    EXPECT_EQ(tidewell::counted(1, "byte"), "1 byte");
    EXPECT_EQ(tidewell::counted(0, "byte"), "0 bytes");
    EXPECT_EQ(tidewell::counted(2, "leftover identifier"), "2 leftover identifiers");
}

TEST(ScanCompletionTest, WaitReturnsAfterTheMarkWithEveryFindQueuedBeforeIt) {
    tidewell::ScanCompletion completion;
    std::vector<int> finds;
    std::thread scan([&] {
        for (int find = 0; find < 100; ++find)
            core::DispatchQueue::main()->async([&finds, find] { finds.push_back(find); });
        completion.mark();
    });
    completion.wait();
    scan.join();
    EXPECT_EQ(finds.size(), 100u);
}

TEST(ScanCompletionTest, EachWaitWaitsForItsOwnMark) {
    tidewell::ScanCompletion completion;
    int steps = 0;
    for (int step = 1; step <= 2; ++step) {
        core::DispatchQueue::main()->asyncAfter(std::chrono::milliseconds(20), [&] {
            ++steps;
            completion.mark();
        });
        completion.wait();
        EXPECT_EQ(steps, step);
    }
}

} // namespace
