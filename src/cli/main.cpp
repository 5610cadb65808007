// velazip-cli: Vela-ZIP Archiver's archive access for users and scripts.

#include <QCoreApplication>
#include <cstdio>
#include <cstring>

#include "Commands.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/ListWorker.h"
#include "platform/FileSystem.h"

namespace {

const char kHelp[] = R"(Usage: velazip-cli COMMAND [options] ARGUMENTS

Reading (every archive family: zip, jar, xap, self-extracting zip, cab, rar and rar volume
sets, 7z and split 7z sets by ".001", gz, bz2, tar, tgz, tbz2, iso):
  classify PATH            print the archive family code of PATH (0: not an archive;
                           a path inside an archive gives the family of that archive)
  list PATH                print the one level that the Archive Browser shows for PATH:
                           folders (with a trailing "/") first, then files, each in
                           case-insensitive order. PATH may lie inside an archive
                           (a.zip/docs) or be a disk folder (sub-folders, then archives)
  list --all ARCHIVE       print every entry: type (d folder, f file, l link), size,
                           modified time and inner path. A "!" after the type marks an
                           entry that is refused because its name leads outside any
                           destination (absolute, or with "..") or holds a control
                           character: it is shown under its name as the archive has
                           it, and never listed or unpacked
      --password PW        the password of an archive whose names are encrypted
                           (else asked on the terminal)
  info PATH                print the description of an archive, or of a folder or a
                           file inside one
  extract [options] PATH DEST
                           unpack an archive, or a folder or a file inside one, into DEST
                           (made when missing). Nothing is ever written outside DEST.
      --files-without-paths | --files-with-paths
                           a single file goes to DEST/<name> | DEST/<its inner path>
      --folders-without-paths | --folders-with-paths
                           a folder goes to DEST/<folder name>/... | DEST/<its inner path>/...
      --archives-without-paths | --archives-with-paths
                           a whole archive puts every file directly in DEST | keeps its folders
      --overwrite ask|always|never
                           what happens to existing files (without a terminal "ask"
                           skips them and reports each)
      --password PW        the password of encrypted entries (else asked on the terminal)
      --progress           show the progress on the terminal
  test [--password PW] ARCHIVE
                           read every entry and check its data
  find [options] PATH      search a folder with its sub-folders, one archive, or a folder
                           inside one (a.zip/docs), and print one hit per line: size,
                           modified time and path (an entry as ARCHIVE/INNER PATH). A mask
                           is compared with the whole name without regard to case; "?"
                           stands for one character, "*" for any run of them
      --archives MASK      archives whose names match; alone, the archives are printed
      --files MASK         files inside archives whose names match; with --archives,
                           only inside the archives that match it, and only those files
                           are printed
      --disk               with --files: files on disk whose names match instead (never
                           inside archives)
      --no-subfolders      only the folder itself, not its sub-folders
      --verbose            name every folder and archive that could not be read, and why
                           (they are skipped)
                           The exit code is 0 with hits, 1 with none or when Ctrl+C
                           stopped the search (the hits until then are printed)
  --encoding NAME          (list, extract, test) read the entry names that are not marked
                           as UTF-8 in code page NAME instead of the one detected from
                           the names: utf-8, cp437, cp850, cp852, cp866, cp1250, cp1251,
                           cp1252, gbk, gb18030, big5, shift_jis, euc-kr or another
                           ICU converter name

Defaults come from the settings file that the program shares with Vela-ZIP Archiver
($XDG_CONFIG_HOME/Vela Systems/Vela-ZIP Archiver/velazip.ini, made when missing): the
recognised archive types and the four unpack settings. Options override them for one run.

Without a terminal velazip-cli never waits for an answer. A failure prints one line that
names the path and the reason, and the exit code is 1 (2 for a usage error). Ctrl+C stops
an extraction cleanly: what was finished stays, no partial file is left.

Writing (zip, jar and xap only; a self-extracting zip and every other family are refused).
Every change writes the new archive beside the old one and replaces it only when complete:
a failure or a Stop leaves the archive as it was.
  create [options] ARCHIVE SOURCE...
                           make a new zip archive of the files and folders given
  add [options] ARCHIVE[/INNER] SOURCE...
                           add files and folders to an archive, at its root or into the
                           folder INNER inside it
      --level 0-9          0 stores, 1 is fastest, 9 compresses best (default: settings, else 6)
      --method deflate|bzip2
      --encrypt zip2|aes128|aes192|aes256
                           encrypt the added files (needs --password)
      --password PW        the password; without --encrypt the settings' method is used
      --files-with-paths | --files-without-paths
                           a file is stored under its full path | under its name
      --folders-with-paths | --folders-without-paths
                           a folder is stored under its full path | under its own name
      --replace ask|always|never
                           what happens to entries that exist (without a terminal "ask"
                           keeps them and reports each)
  rename ARCHIVE/INNER NEWNAME
                           rename a file or a folder (and everything below it) in place
  delete ARCHIVE/INNER     delete a file or a folder with everything below it
  mkdir ARCHIVE/INNER      make an empty folder

Desktop (the user's default applications, in $XDG_CONFIG_HOME/mimeapps.list):
  associations [EXT...]    print each extension (default: every archive type the program
                           opens) with its MIME type and its default application; "*"
                           marks those that open in Vela-ZIP Archiver
  associate [--program PATH] EXT...
                           make Vela-ZIP Archiver the default application of the
                           extensions' types, writing its desktop entry velazip.desktop
                           (PATH: the velazip program; default: the one beside velazip-cli)
  release EXT...           take Vela-ZIP Archiver out of those defaults (the previous
                           default is not restored)
  email FILE               open a new mail message with FILE attached (xdg-email)

  --help                   this text
  --version                the version
)";

struct Command {
    const char* name;
    int (*run)(cli::Args);
};
const Command kCommands[] = {
    {"classify", cli::Classify},
    {"list", cli::List},
    {"info", cli::Info},
    {"extract", cli::Extract},
    {"test", cli::Test},
    {"create", cli::Create},
    {"add", cli::Add},
    {"rename", cli::Rename},
    {"delete", cli::Delete},
    {"mkdir", cli::MakeFolder},
    {"find", cli::Find},
    {"associations", cli::Associations},
    {"associate", cli::Associate},
    {"release", cli::Release},
    {"email", cli::Email},
};

}  // namespace

int main(int argc, char* argv[]) {
    // The hidden mode that lists an archive for another process (archive/ListWorker.h).
    if (argc > 1 && strcmp(argv[1], vz::kListWorkerSwitch) == 0)
        return vz::RunListWorker(argc - 2, argv + 2);
    QCoreApplication app(argc, argv);
    vz::EnsureUtf8Locale();
    // Arguments are bytes: a path that is not UTF-8 keeps them all.
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << vz::platform::DecodePath(argv[i]);
    if (args.isEmpty() || args.first() == QLatin1String("--help") ||
        args.first() == QLatin1String("-h")) {
        fputs(kHelp, stdout);
        return args.isEmpty() ? cli::kUsage : cli::kOk;
    }
    if (args.first() == QLatin1String("--version")) {
        cli::Print(QStringLiteral("velazip-cli 4.2"));
        return cli::kOk;
    }
    const QString name = args.takeFirst();
    for (const Command& c : kCommands)
        if (name == QLatin1String(c.name))
            return c.run(cli::Args(args));
    cli::PrintError(QStringLiteral("unknown command %1 (see velazip-cli --help)").arg(name));
    return cli::kUsage;
}
