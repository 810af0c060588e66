#include "tools/ditto/inflater.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/tools/ditto/zip_builder.h"

namespace quillmoor::ditto {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

// Compresses to about a quarter, in blocks with dynamic codes.
std::string someText(std::size_t size) {
    std::mt19937 random(7);
    std::string text(size, '\0');
    for (char& c : text) c = static_cast<char>('a' + random() % 4);
    return text;
}

std::string someNoise(std::size_t size) {
    std::mt19937 random(8);
    std::string text(size, '\0');
    for (char& c : text) c = static_cast<char>(random());
    return text;
}

// Contents that are deflated with dynamic codes, with fixed codes, and stored.
std::vector<std::string> someContents() {
    return {"", "a", "short", someText(100'000), someNoise(70'000), std::string(100'000, '\0')};
}

// A block with fixed codes whose first item copies from three bytes before the beginning.
const Bytes kCopiesFromBeforeTheBeginning = {0x03, 0x02, 0x00};

// The stream's content, whether its end was reached, and how many bytes follow the end.
struct Unpacked {
    std::string content;
    bool damaged = false;
    bool ended = false;
    std::size_t unread = 0;
};

// Feeds and inflates in pieces of these sizes.
Unpacked unpackedInPieces(StreamInflater& inflater, const Bytes& input, std::size_t inputPiece,
                          std::size_t outputPiece) {
    Unpacked result;
    Bytes output(outputPiece);
    std::size_t fed = 0;
    inflater.start();
    while (!inflater.isDone()) {
        const bool atEnd = inflater.needsInput() && fed == input.size();
        if (inflater.needsInput() && !atEnd) {
            const std::size_t size = std::min(inputPiece, input.size() - fed);
            inflater.feed(std::span(input).subspan(fed, size));
            fed += size;
        }
        const auto written = inflater.inflate(output);
        result.damaged = !written;
        if (!written || (atEnd && *written == 0 && !inflater.isDone())) return result;
        result.content.append(output.begin(), output.begin() + static_cast<long>(*written));
    }
    result.ended = true;
    result.unread = inflater.unread() + input.size() - fed;
    return result;
}

TEST(DittoInflater, UnpacksAWholeStreamAtOnce) {
    WholeInflater inflater;
    for (const std::string& content : someContents()) {
        const Bytes input = bytesOf(test::deflated(content));
        Bytes output(content.size());
        const auto result = inflater.inflate(input, output);
        EXPECT_EQ(result.status, WholeInflater::Status::Done);
        EXPECT_EQ(result.read, input.size());
        EXPECT_EQ(result.written, content.size());
        EXPECT_TRUE(output == bytesOf(content)) << content.size();
    }
}

TEST(DittoInflater, ReportsLessThanTheRoomAndDataBehindTheEnd) {
    WholeInflater inflater;
    Bytes input = bytesOf(test::deflated("short"));
    const std::size_t size = input.size();
    input.insert(input.end(), 9, 'x');
    Bytes output(100);
    const auto result = inflater.inflate(input, output);
    EXPECT_EQ(result.status, WholeInflater::Status::Done);
    EXPECT_EQ(result.read, size);
    EXPECT_EQ(result.written, 5U);
}

TEST(DittoInflater, RefusesMoreThanTheRoom) {
    WholeInflater inflater;
    for (const std::size_t room : {0U, 1U, 4U}) {
        Bytes output(room);
        EXPECT_EQ(inflater.inflate(bytesOf(test::deflated("short")), output).status,
                  WholeInflater::Status::OutputTooSmall)
            << room;
    }
}

TEST(DittoInflater, RefusesAWholeStreamThatIsCutOrDamaged) {
    WholeInflater inflater;
    Bytes output(100'000);
    Bytes input = bytesOf(test::deflated(someText(100'000)));
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, input.size() / 2})
        EXPECT_EQ(inflater.inflate(std::span(input).first(size), output).status,
                  WholeInflater::Status::Damaged)
            << size;
    // At the very end it may look like output that is too long.
    EXPECT_NE(inflater.inflate(std::span(input).first(input.size() - 1), output).status,
              WholeInflater::Status::Done);
    input[0] |= 6U;  // a kind of block that does not exist
    EXPECT_EQ(inflater.inflate(input, output).status, WholeInflater::Status::Damaged);
    EXPECT_EQ(inflater.inflate(kCopiesFromBeforeTheBeginning, output).status,
              WholeInflater::Status::Damaged);
}

TEST(DittoInflater, UnpacksAStreamInPiecesOfAnySize) {
    StreamInflater inflater;
    for (const std::string& content : someContents()) {
        const Bytes input = bytesOf(test::deflated(content));
        for (const std::size_t in : {1U, 7U, 4096U, 1U << 20U}) {
            for (const std::size_t out : {1U, 13U, 65536U, 1U << 20U}) {
                const Unpacked result = unpackedInPieces(inflater, input, in, out);
                EXPECT_TRUE(result.ended) << content.size() << ' ' << in << ' ' << out;
                EXPECT_EQ(result.unread, 0U) << content.size() << ' ' << in << ' ' << out;
                EXPECT_TRUE(result.content == content) << content.size() << ' ' << in << ' ' << out;
            }
        }
    }
}

TEST(DittoInflater, CountsWhatFollowsTheEndOfAStream) {
    StreamInflater inflater;
    for (const std::string& content : someContents()) {
        const Bytes stream = bytesOf(test::deflated(content));
        for (const std::size_t more : {0U, 1U, 2U, 7U, 8U, 9U, 16U, 100U}) {
            Bytes input = stream;
            input.insert(input.end(), more, 0xff);
            for (const std::size_t in : {std::size_t{1}, std::size_t{5}, input.size()}) {
                const Unpacked result = unpackedInPieces(inflater, input, in, 1U << 19U);
                EXPECT_TRUE(result.ended);
                EXPECT_EQ(result.unread, more) << content.size() << ' ' << in;
                EXPECT_EQ(result.content.size(), content.size());
            }
        }
    }
}

TEST(DittoInflater, NeverEndsAStreamThatIsCut) {
    StreamInflater inflater;
    for (const std::string& content : {std::string("short"), someText(100'000)}) {
        const Bytes input = bytesOf(test::deflated(content));
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{1}, input.size() / 2, input.size() - 1}) {
            const Bytes cut(input.begin(), input.begin() + static_cast<long>(size));
            EXPECT_FALSE(unpackedInPieces(inflater, cut, 4096, 65536).ended) << size;
        }
    }
}

TEST(DittoInflater, RefusesADamagedStreamAndUnpacksTheNext) {
    StreamInflater inflater;
    const std::string content = someText(100'000);
    const Bytes good = bytesOf(test::deflated(content));
    Bytes bad = good;
    bad[0] |= 6U;
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(unpackedInPieces(inflater, bad, 4096, 65536).damaged);
        EXPECT_TRUE(unpackedInPieces(inflater, good, 4096, 65536).content == content);
    }
}

TEST(DittoInflater, DoesNotReferToTheStreamBefore) {
    StreamInflater inflater;
    for (const std::size_t out : {1U, 16U, 65536U}) {
        EXPECT_EQ(unpackedInPieces(inflater, bytesOf(test::deflated("secret")), 100, out).content,
                  "secret");
        const Unpacked next = unpackedInPieces(inflater, kCopiesFromBeforeTheBeginning, 100, out);
        EXPECT_TRUE(next.damaged) << out;
        EXPECT_EQ(next.content, "") << out;
    }
}

}  // namespace
}  // namespace quillmoor::ditto
