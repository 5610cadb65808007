// velazip: the Vela-ZIP Archiver window. One optional argument: the archive (or a folder, or a
// place inside an archive) to open in the Archive Browser.

#include "app/CVelaZipApp.h"

int main(int argc, char** argv) {
    return CVelaZipApp::Run(argc, argv);
}
