// Without libFuzzer: runs each input file given (or each file of a folder given) once through
// the target, the way libFuzzer replays a corpus. A crash or a sanitizer report fails the run.

#include <QByteArray>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

void runOne(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        QTextStream(stderr) << "cannot read " << path << '\n';
        std::exit(2);
    }
    const QByteArray bytes = file.readAll();
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.constData()), size_t(bytes.size()));
}

} // namespace

int main(int argc, char *argv[])
{
    LLVMFuzzerInitialize(&argc, &argv);
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        const QString path = QFile::decodeName(argv[i]);
        if (QFileInfo(path).isDir()) {
            QDirIterator it(path, QDir::Files);
            while (it.hasNext()) {
                runOne(it.next());
                ++inputs;
            }
        } else {
            runOne(path);
            ++inputs;
        }
    }
    QTextStream(stdout) << inputs << " passed, 0 failed\n";
    return inputs > 0 ? 0 : 1;
}
