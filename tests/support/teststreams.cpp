#include "tests/support/teststreams.h"

#include "tools/testpicture/keptstreams.h"
#include "tools/testpicture/numberedstream.h"

#include <QDir>

#include <cstdio>

using namespace quorvale;

std::optional<QString> samplePath(const QString &name)
{
    const QString path = QDir(QUORVALE_SAMPLES_DIR).filePath(name);
    return QFile::exists(path) ? std::optional(path) : std::nullopt;
}

namespace {

QString pathWhereMade(const QString &path, const ProcessEnd &result)
{
    if (result.ok())
        return path;
    std::fprintf(stderr, "%s\n", result.errors.c_str());
    return {};
}

} // namespace

QString makeStream(const QString &folder, const TestStream &stream)
{
    NumberedStream numbered;
    const QString path = QDir(folder).filePath(stream.fileName);
    numbered.path = path.toStdString();
    numbered.picture = {stream.size.width(), stream.size.height(), ChromaFormat::Yuv420, stream.interlaced};
    numbered.frames = stream.frames;
    numbered.sarNumerator = stream.sampleAspect.width();
    numbered.sarDenominator = stream.sampleAspect.height();
    numbered.firstNumber = stream.firstNumber;
    numbered.toneFrequency = stream.sound ? 440 : 0;
    for (const QString &argument : stream.encoder)
        numbered.encoderArguments.push_back(argument.toStdString());
    return pathWhereMade(path, encodeNumberedStream(numbered));
}

QString makeWithFFmpeg(const QString &folder, const QString &fileName, const QStringList &arguments)
{
    const QString path = QDir(folder).filePath(fileName);
    std::vector<std::string> words = {"-v", "error", "-nostdin", "-y"};
    std::string recipe = QFileInfo(fileName).suffix().toStdString();
    for (const QString &argument : arguments) {
        words.push_back(argument.toStdString());
        // Of a file the kind and the content count; its name is another one in each run.
        const QFileInfo file(argument);
        recipe +=
            '\n' +
            (file.isFile() ? file.suffix().toUtf8() + '\n' + readFile(argument) : argument.toUtf8()).toStdString();
    }
    words.push_back(path.toStdString());
    return pathWhereMade(path,
                         keptstreams::makeOnce(path.toStdString(), recipe, [&words] { return runFFmpeg(words); }));
}

QString writeFile(const QString &folder, const QString &fileName, const QByteArray &content)
{
    const QString path = QDir(folder).filePath(fileName);
    return writeFile(path, content) ? path : QString();
}
