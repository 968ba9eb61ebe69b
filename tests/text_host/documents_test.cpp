#include "documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <filesystem>
#include <string>
#include <vector>
#include "temporary_folder.h"

namespace text_host {

void PrintTo(const Problem& problem, std::ostream* out) { *out << problem.path << ": " << problem.reason; }

namespace tests {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

auto problem(const fs::path& path, const std::string& reason) {
    return AllOf(Field(&Problem::path, path), Field(&Problem::reason, reason));
}

std::string reasonNotToRead(const fs::path& file) {
    try {
        readDocument(file);
    } catch (const UnreadableDocument& error) {
        return error.what();
    }
    return "it was read";
}

void makeSocket(const fs::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.native().size(), sizeof(address.sun_path));
    path.native().copy(address.sun_path, path.native().size());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_NE(socket, -1);
    const int bound = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    ::close(socket);
    ASSERT_EQ(bound, 0);
}

// The order is that of the names' bytes, folders among the files, whatever order the file system has.
TEST(ListDocuments, GoesThroughFoldersInByteOrder) {
    const TemporaryFolder folder;
    for (const char* const file : {"b/z", "b/B/deep", "c", "a", "C", ".hidden"}) {
        folder.write(file, "text");
    }
    const fs::path& root = folder.path();
    const Listing listing = listDocuments(root);
    EXPECT_THAT(listing.documents,
                ElementsAre(root / ".hidden", root / "C", root / "a", root / "b/B/deep", root / "b/z", root / "c"));
    EXPECT_THAT(listing.problems, IsEmpty());
}

// Links are no documents and no way into folders, so a loop of them ends nothing and repeats nothing.
TEST(ListDocuments, PassesOverSymbolicLinks) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("file", "text");
    fs::create_directory_symlink(folder.path(), folder.path() / "loop");
    fs::create_symlink(file, folder.path() / "same");
    fs::create_symlink("nowhere", folder.path() / "dangling");
    const Listing listing = listDocuments(folder.path());
    EXPECT_THAT(listing.documents, ElementsAre(file));
    EXPECT_THAT(listing.problems, IsEmpty());
}

// Folders without entries are named, whether they are the root or below it.
TEST(ListDocuments, NamesEmptyFolders) {
    const TemporaryFolder folder;
    const fs::path below = folder.path() / "below";
    EXPECT_THAT(listDocuments(folder.path()).problems, ElementsAre(problem(folder.path(), "empty folder")));
    fs::create_directory(below);
    EXPECT_THAT(listDocuments(folder.path()).problems, ElementsAre(problem(below, "empty folder")));
}

// Pipes and sockets are named and not opened, which would wait for somebody at the other end.
TEST(ListDocuments, NamesWhatIsNoRegularFile) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("file", "text");
    const fs::path pipe = folder.path() / "pipe";
    const fs::path socket = folder.path() / "socket";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    ASSERT_NO_FATAL_FAILURE(makeSocket(socket));
    const Listing listing = listDocuments(folder.path());
    EXPECT_THAT(listing.documents, ElementsAre(file));
    EXPECT_THAT(listing.problems,
                ElementsAre(problem(pipe, "not a regular file"), problem(socket, "not a regular file")));
}

// A folder that can't be read is named with the system's reason.
TEST(ListDocuments, NamesFoldersThatCannotBeRead) {
    const TemporaryFolder folder;
    const fs::path missing = folder.path() / "missing";
    const Listing listing = listDocuments(missing);
    EXPECT_THAT(listing.documents, IsEmpty());
    EXPECT_THAT(listing.problems, ElementsAre(problem(missing, "No such file or directory")));
}

// A document is its bytes, unchanged.
TEST(ReadDocument, ReturnsTheBytes) {
    const TemporaryFolder folder;
    const std::string text = "line\r\n\xff\xc3 no line end";
    EXPECT_EQ(readDocument(folder.write("file", text)), text);
    EXPECT_EQ(readDocument(folder.write("empty", "")), "");
}

// Files may be longer than any buffer.
TEST(ReadDocument, ReadsLongFiles) {
    const TemporaryFolder folder;
    std::string text;
    while (text.size() < 1'000'000) {
        text += std::to_string(text.size()) + ' ';
    }
    EXPECT_EQ(readDocument(folder.write("file", text)), text);
}

// The first 8 KiB decide whether a file is binary, up to their last byte.
TEST(ReadDocument, RefusesNulBytesAtTheBeginningOnly) {
    const TemporaryFolder folder;
    std::string text(10'000, 'x');
    text[8192] = '\0';
    EXPECT_EQ(readDocument(folder.write("text", text)), text);
    text[8191] = '\0';
    EXPECT_EQ(reasonNotToRead(folder.write("binary", text)), "binary file (it holds a NUL byte)");
    EXPECT_EQ(reasonNotToRead(folder.write("nul", std::string(1, '\0'))), "binary file (it holds a NUL byte)");
}

// What fails at opening and what fails at reading is refused with the system's reason.
TEST(ReadDocument, RefusesWhatCannotBeRead) {
    const TemporaryFolder folder;
    EXPECT_EQ(reasonNotToRead(folder.path() / "missing"), "No such file or directory");
    EXPECT_EQ(reasonNotToRead(folder.path()), "Is a directory");
}

// Directories, and links to them, can be opened as projects.
TEST(WhyNoDirectory, IsSilentAboutDirectories) {
    const TemporaryFolder folder;
    const fs::path link = folder.path() / "link";
    fs::create_directory_symlink(folder.path(), link);
    EXPECT_EQ(whyNoDirectory(folder.path()), std::nullopt);
    EXPECT_EQ(whyNoDirectory(link), std::nullopt);
}

// Everything else can't, for the system's reason.
TEST(WhyNoDirectory, GivesTheReason) {
    const TemporaryFolder folder;
    const fs::path loop = folder.path() / "loop";
    fs::create_symlink(loop, loop);
    EXPECT_EQ(whyNoDirectory(folder.path() / "missing"), "No such file or directory");
    EXPECT_EQ(whyNoDirectory(""), "No such file or directory");
    EXPECT_EQ(whyNoDirectory(folder.write("file", "")), "Not a directory");
    EXPECT_EQ(whyNoDirectory(loop), "Too many levels of symbolic links");
}

// Control characters are spelled out; blanks and letters of other scripts stay.
TEST(Printable, SpellsOutControlCharacters) {
    EXPECT_EQ(printable("a b/\xc3\xa4"), "a b/\xc3\xa4");
    EXPECT_EQ(printable("\x1b[2J\n\x7f\x01"), "\\x1b[2J\\x0a\\x7f\\x01");
}

}  // namespace

}  // namespace tests

}  // namespace text_host
