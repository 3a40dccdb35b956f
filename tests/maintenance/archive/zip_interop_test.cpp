// Our archives against real peers: Info-ZIP, 7-Zip and Python's zipfile
// must accept what we write, and we must read what they write.
#include <gtest/gtest.h>

#include <array>
#include <map>

#include "archive_test_support.h"

namespace mervane {
namespace {

using namespace archive_test;

const char* kPython = "/usr/bin/python3";

// Runs a command and returns what it printed.
std::string capture(const std::string& command) {
  std::string out;
  if (FILE* p = popen(command.c_str(), "r")) {
    std::array<char, 4096> buf;
    std::size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) out.append(buf.data(), n);
    pclose(p);
  }
  return out;
}

// A python3 one-liner run over an archive: testzip() finds no bad entry and
// the names, sorted, one a line.
std::string pythonNames(const fs::path& archive) {
  return capture(std::string(kPython) +
                 " -c \"import sys,zipfile; z=zipfile.ZipFile(sys.argv[1]); "
                 "assert z.testzip() is None; print('\\n'.join(sorted(z.namelist())))\" " +
                 quote(archive));
}

struct Reports {
  ScratchFolder dir;
  fs::path folder = dir.make("Reports");
  std::map<std::string, std::string> files = {
      {"Übersicht Q1.rpt", reportText(150000, 7)},
      {"ça va.rpt", reportText(3000, 8)},
      {"empty.rpt", ""},
      {"noise.rpt", randomBytes(200000, 9)},
      {"big.rpt", reportText(1200000, 10) + randomBytes(1100000, 11)},
  };
  Reports() {
    for (const auto& [name, bytes] : files) writeFile(folder / name, bytes);
  }
  std::string sortedNames() const {
    std::string s;
    for (const auto& [name, bytes] : files) s += name + "\n";  // std::map: sorted by bytes
    return s;
  }
  void expectExtracted(const fs::path& target) const {
    for (const auto& [name, bytes] : files) EXPECT_EQ(readFile(target / name), bytes) << name;
  }
};

TEST(ZipInterop, PeersAcceptOurArchivesPlainAndZip64) {
  Reports r;
  RecordingEvents events;
  for (bool zip64 : {false, true}) {
    ArchiveOptions options;
    options.forceZip64 = zip64;
    fs::path archive = r.dir / (zip64 ? "z64.zip" : "plain.zip");
    ASSERT_TRUE(writeArchive(text(archive), text(r.folder) + u"/*.rpt|", events, options).ok());
    SCOPED_TRACE(archive.filename().string());
    EXPECT_EQ(shell("unzip -tq " + quote(archive)), 0);
    EXPECT_EQ(shell("7z t " + quote(archive)), 0);
    EXPECT_EQ(pythonNames(archive), r.sortedNames());
    // Both extract the accented names as they were.
    fs::path out = r.dir / (zip64 ? "7z64" : "7z");
    ASSERT_EQ(shell("7z x -o" + quote(out) + " " + quote(archive)), 0);
    r.expectExtracted(out);
    out = r.dir / (zip64 ? "unzip64" : "unzip");
    ASSERT_EQ(shell("unzip -q " + quote(archive) + " -d " + quote(out)), 0);
    r.expectExtracted(out);
  }
}

TEST(ZipInterop, ArchiveSizeIsCloseToInfoZips) {
  Reports r;
  RecordingEvents events;
  fs::path ours = r.dir / "ours.zip", theirs = r.dir / "theirs.zip";
  ASSERT_TRUE(writeArchive(text(ours), text(r.folder) + u"/*.rpt|", events).ok());
  ASSERT_EQ(shell("cd " + quote(r.folder) + " && zip -q -X " + quote(theirs) + " *.rpt"), 0);
  EXPECT_LE(static_cast<double>(fs::file_size(ours)),
            1.02 * static_cast<double>(fs::file_size(theirs)));
}

TEST(ZipInterop, WeReadWhatPeersWrite) {
  Reports r;
  fs::path sub = r.dir.make("Reports/sub");
  writeFile(sub / "nested.rpt", "from a subfolder");
  const std::string cd = "cd " + quote(r.folder) + " && ";
  struct Peer {
    const char* name;
    std::string command;
  };
  std::vector<Peer> peers = {
      {"zip", cd + "zip -q -r ../zip.zip ."},
      {"zip-stored", cd + "zip -q -0 -r ../zip-stored.zip ."},
      // Written to a pipe: sizes follow the data in descriptors.
      {"zip-stream", cd + "zip -q -r - . > ../zip-stream.zip"},
      {"7z", cd + "7z a -tzip ../7z.zip . "},
      {"python",
       cd + kPython +
           " -c \"import zipfile,os\n"
           "z=zipfile.ZipFile('../python.zip','w',zipfile.ZIP_DEFLATED)\n"
           "for root,_,names in os.walk('.'):\n"
           "  for n in names:\n"
           "    p=os.path.join(root,n)\n"
           "    with open(p,'rb') as f, z.open(p[2:],'w',force_zip64=n.startswith('big')) as o: "
           "o.write(f.read())\n\""},
  };
  for (const Peer& peer : peers) {
    SCOPED_TRACE(peer.name);
    ASSERT_EQ(shell(peer.command), 0);
    fs::path out = r.dir.make(std::string("out-") + peer.name);
    writeFile(out / "noise.rpt", "replaced by the archive's copy");
    RecordingEvents events;
    ArchiveResult result =
        extractArchive(text(r.dir / (std::string(peer.name) + ".zip")), text(out), events);
    EXPECT_TRUE(result.ok());
    EXPECT_EQ(result.processedFiles, 6);
    r.expectExtracted(out);
    EXPECT_EQ(readFile(out / "nested.rpt"), "from a subfolder");  // lands in the target itself
  }
}

TEST(ZipInterop, PeerEntriesWeCannotReadAreSkippedAndCounted) {
  Reports r;
  ASSERT_EQ(shell("cd " + quote(r.folder) +
                  " && zip -q -P secret ../locked.zip empty.rpt ça\\ va.rpt && " +
                  "7z a -tzip -mm=BZip2 ../bzip2.zip ça\\ va.rpt && zip -q ../locked.zip big.rpt"),
            0);
  RecordingEvents events;
  fs::path out = r.dir.make("out");
  ArchiveResult locked = extractArchive(text(r.dir / "locked.zip"), text(out), events);
  EXPECT_EQ(locked.processedFiles, 1);
  ASSERT_EQ(locked.failedFiles, 2);
  EXPECT_EQ(locked.failures[0].reason, ArchiveError::encrypted);
  ArchiveResult bzip2 = extractArchive(text(r.dir / "bzip2.zip"), text(out), events);
  EXPECT_EQ(bzip2.processedFiles, 0);
  ASSERT_EQ(bzip2.failedFiles, 1);
  EXPECT_EQ(bzip2.failures[0].reason, ArchiveError::unsupportedMethod);
  EXPECT_EQ(listFolder(out), std::vector<std::string>{"big.rpt"});
}

}  // namespace
}  // namespace mervane
