// Writes the inputs that a fuzzer starts from: usage: fuzz_seeds TARGET FOLDER
// scripts/fuzz --merge picks from them, and from what the fuzzers found since, the smallest set of
// files that reaches the same code; that set is the corpus in the tree. Those that lie at a limit stay
// in any case: both sides of it reach the same code.

#include <testpictures.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <QMap>
#include <QPainter>
#include <QRandomGenerator>

#include <cstdio>
#include <functional>

using namespace Morvek::Tests;

namespace {

using Seeds = QList<QByteArray>;

QByteArray pause(int nMs)
{
    return QByteArray("\xfe") + char(nMs);
}

QByteArray order(int nOrder)
{
    return pause(nOrder);
}

Seeds framingSeeds()
{
    const QByteArray first = mjpegPart("first picture");
    const QByteArray second = mjpegPart("the second");
    const QByteArray due = pause(80);
    Seeds seeds = {
        due + first,
        due + first + second,
        due + first + pause(79) + second,
        due + first + pause(80) + second,
        due + first + due + order(0xcb) + second,
        order(0xcc) + due + first + order(0xcd) + due + second,
        due + first + order(0xc8) + second,
        due + first + order(0xc9) + second,
        order(0xca) + first + due + second,
        due + "Content-Length: 160\r\n\r\n\xfe\xce\x28" + second,
        due + "Content-Length: 4\r\nX: y\r\n\r\nabcd",
        due + "Content-length: 4\r\n\r\nabcd",
        due + "Content-Length: \xfe\xff\r\n\r\n" + second,
        due + "--Content-Length: 12",
        "no header at all",
    };
    for (const char *pLength : {"", "-5", "+5", " \t5", "0", "x", "2147483647", "4294967301",
                                "99999999999999999999", "5x"})
        seeds += due + "Content-Length:" + pLength + "\r\n\r\nabcde" + due + first;
    for (int i = 1; i < first.size(); i += 5)
        seeds += due + first.left(i) + pause(0) + first.mid(i) + due + second;
    return seeds;
}

QByteArray saved(const QImage &picture, const char *pFormat, bool isProgressive = false)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, pFormat);
    writer.setQuality(30);
    writer.setProgressiveScanWrite(isProgressive);
    writer.write(picture);
    return bytes;
}

// A JPEG whose frame header claims another size than was compressed.
QByteArray claiming(QByteArray jpeg, int nWidth, int nHeight)
{
    const int iFrame = jpeg.indexOf("\xff\xc0");
    jpeg[iFrame + 5] = char(nHeight >> 8);
    jpeg[iFrame + 6] = char(nHeight);
    jpeg[iFrame + 7] = char(nWidth >> 8);
    jpeg[iFrame + 8] = char(nWidth);
    return jpeg;
}

// An icon of one picture, whose entry in the directory tells another size than the picture has.
QByteArray iconOf(const QByteArray &png)
{
    QByteArray icon("\0\0\1\0\1\0\x10\x10\0\0\1\0\x20\0", 14);
    const auto appendNumber = [&icon](int nValue) {
        for (int nShift = 0; nShift < 32; nShift += 8)
            icon.append(char(nValue >> nShift));
    };
    appendNumber(png.size());
    appendNumber(icon.size() + 4);
    return icon + png;
}

// One pixel, far down on an area that is larger than it tells.
QByteArray wideGif()
{
    return QByteArray("GIF89a\1\12\0\0\x80\0\0\0\0\0\xff\xff\xff"
                      ",\0\0\xfe\0\1\0\1\0\0\2\2D\1\0;",
                      35);
}

// A bitmap of two colours whose pixels have higher numbers.
QByteArray shortPalette()
{
    QImage picture(8, 8, QImage::Format_Indexed8);
    picture.setColorTable(QVector<QRgb>(256, qRgb(0, 0, 255)));
    picture.fill(200);
    const QByteArray bmp = saved(picture, "bmp");
    constexpr int HeaderBytes = 54;
    QByteArray bytes = bmp.left(HeaderBytes + 2 * 4) + bmp.mid(HeaderBytes + 256 * 4);
    bytes[10] = char(HeaderBytes + 2 * 4); // where the pixels begin
    bytes[11] = 0;
    bytes[46] = 2; // colours
    bytes[47] = 0;
    return bytes;
}

// On both sides of a limit, or with a header that tells less than the rest.
Seeds decodeLimits()
{
    const QByteArray jpeg = saved(gradientPicture(QSize(24, 18), 3), "jpg");
    QImage wide(300, 300, QImage::Format_Mono);
    wide.fill(0);
    return {claiming(jpeg, 256, 256),
            claiming(jpeg, 256, 257),
            claiming(jpeg, 65500, 65500),
            claiming(jpeg, 0, 0),
            iconOf(saved(wide, "png")),
            wideGif(),
            shortPalette()};
}

Seeds decodeSeeds()
{
    const QImage picture = gradientPicture(QSize(24, 18), 3);
    const QImage gray = picture.convertToFormat(QImage::Format_Grayscale8);
    const QImage palette = picture.convertToFormat(QImage::Format_Indexed8);
    const QImage mono = picture.convertToFormat(QImage::Format_Mono);
    const QByteArray jpeg = saved(picture, "jpg");
    const QByteArray progressive = saved(picture, "jpg", true);
    const QByteArray lastScan = progressive.mid(progressive.lastIndexOf("\xff\xda"));
    const QByteArray withScans = progressive.left(progressive.lastIndexOf("\xff\xda"))
                               + lastScan.left(lastScan.size() - 2).repeated(20) + "\xff\xd9";
    Seeds seeds = {jpeg,
                   progressive,
                   withScans,
                   saved(gray, "jpg"),
                   saved(gray, "jpg", true),
                   jpeg.left(jpeg.size() / 2),
                   jpeg.left(40),
                   iconOf(saved(picture, "png"))};
    for (const char *pFormat : {"png", "bmp", "ppm", "xpm", "xbm", "ico", "pbm", "pgm"}) {
        for (const QImage &form : {picture, gray, palette, mono})
            seeds += saved(form, pFormat);
    }
    seeds += saved(picture.convertToFormat(QImage::Format_RGBA64), "png");
    // Smallest of its kind: one pixel, two colours.
    seeds += QByteArray("GIF89a\1\0\1\0\x80\0\0\0\0\0\xff\xff\xff!\xf9\4\1\0\0\0\0,\0\0\0\0\1\0\1\0"
                        "\0\2\2D\1\0;",
                        43);
    return seeds;
}

Seeds layerSeeds()
{
    QRandomGenerator random(20260521);
    Seeds seeds;
    for (int i = 0; i < 300; ++i) {
        QByteArray bytes(random.bounded(20, 400), '\0');
        for (char &byte : bytes)
            byte = char(random.bounded(256));
        // Three of four parts of anything would leave nothing for the plain reference.
        if (i % 3 != 0) {
            for (char &byte : bytes)
                byte = char(byte & ~2);
        }
        seeds += bytes;
    }
    return seeds;
}

/** A part of a text, what it becomes, and numbers to put behind that. */
struct sReplacement
{
    const char *m_pBefore;
    const char *m_pAfter;
    QList<qint64> m_numbers;
};

Seeds replacedEach(const QByteArray &text, const QList<sReplacement> &replacements)
{
    Seeds seeds;
    for (const sReplacement &replacement : replacements) {
        for (const qint64 nNumber : replacement.m_numbers) {
            QByteArray changed = text;
            seeds += changed.replace(replacement.m_pBefore,
                                     replacement.m_pAfter + QByteArray::number(nNumber));
        }
    }
    return seeds;
}

Seeds filesIn(const QString &strFolder)
{
    Seeds seeds;
    const QDir folder(strFolder);
    const QStringList names = folder.entryList({QStringLiteral("*.json")}, QDir::Files);
    for (const QString &strName : names) {
        QFile file(folder.filePath(strName));
        if (file.open(QIODevice::ReadOnly))
            seeds += file.readAll();
    }
    return seeds;
}

// One number in a scene's text at a time, at what it may be and beyond.
Seeds sceneLimits()
{
    const QByteArray scene =
        R"({"device":{"address":"h","port":1,"fps":25,"tiles":4,"source":"mjpeg"},)"
        R"("screens":[{"name":"s","size":[9,9],"layers":[{"name":"l","rect":[0,0,4,4],)"
        R"("opacity":50,"source":{"type":"input","input":3,"size":[8,8],"crop":[1,1,2,2]},)"
        R"("border":{"style":"soft","size":[2,3]},"mask":{"top":1}}]}]})";
    return replacedEach(scene, {{R"("port":1)", R"("port":)", {0, 65535, 65536}},
                                {R"("fps":25)", R"("fps":)", {-1, 0, 255, 256}},
                                {R"("input":3)", R"("input":)", {-1, 0, 4}},
                                {R"("opacity":50)", R"("opacity":)", {-1, 0, 100, 101}},
                                {"[9,9", "[9,", {0, 1, 8192, 8193}},
                                {"[0,0,4,4", "[0,0,4,", {0, 8192, 8193}},
                                {"[0,0", "[0,", {-8193, -8192, 8192, 8193}},
                                {"[1,1,2,2", "[1,1,2,", {7, 8}},
                                {"[2,3", "[2,", {-1, 0, 8192, 8193}},
                                {R"("top":1)", R"("top":)", {-1, 0, 8192, 8193}}});
}

Seeds sceneSeeds()
{
    const QByteArray device = R"({"device":{"address":"h","port":1,"tiles":4,"source":"mjpeg"},)"
                              R"("screens":[{"name":"s","size":[9,9],"layers":[)";
    const QByteArray layer = R"({"name":"l","rect":[0,0,4,4])";
    Seeds seeds = filesIn(QStringLiteral(MORVEK_SOURCE_DIR "/src/tools/echocanvas"));
    for (const char *pLook :
         {"", R"(,"color":"#8020c0a0","mirror":"both","mono":true,"reverse":true,"frozen":true)",
          R"(,"opacity":50,"source":{"type":"input","input":3,"size":[8,8],"crop":[1,1,2,2]})",
          R"(,"source":{"type":"none"},"border":{"style":"soft","color":"red","size":[2,2]})",
          R"(,"mask":{"top":1,"bottom":2,"left":3,"right":4},"alphaMap":"builtin:ellipse")",
          R"(,"alphaMap":"missing.png","unknown":[1,{"a":null}])"})
        seeds += device + layer + pLook + "}]}]}";
    seeds += Seeds{"", "{}", "[]", "null", "{\"device\":1,\"screens\":[[]]}", device};
    return seeds;
}

// The same for a scenario.
Seeds scenarioLimits()
{
    const QByteArray scenario =
        R"({"seed":1,"faults":[{"fault":"flood","at":2,"every":3,"ms":10,"fps":20,"bytes":30},)"
        R"({"fault":"split","at":2,"clock":"connection","byte":40}],)"
        R"("random":{"percent":50,"faults":[{"fault":"reset"}]}})";
    constexpr qint64 MaxBytes = 64 * 1024 * 1024;
    constexpr qint64 Day = 24 * 60 * 60 * 1000;
    return replacedEach(scenario, {{R"("fps":20)", R"("fps":)", {0, 1, 1000, 1001}},
                                   {R"("ms":10)", R"("ms":)", {0, 1, Day, Day + 1}},
                                   {R"("bytes":30)", R"("bytes":)", {0, 1, MaxBytes, MaxBytes + 1}},
                                   {R"("byte":40)", R"("byte":)", {-1, 0, MaxBytes, MaxBytes + 1}},
                                   {R"("every":3)", R"("every":)", {0, 1, 2147483647, 2147483648}},
                                   {R"("percent":50)", R"("percent":)", {0, 1, 100, 101}},
                                   {R"("seed":1)", R"("seed":)", {-1, 0, 2147483647, 2147483648}}});
}

Seeds scenarioSeeds()
{
    return filesIn(QStringLiteral(MORVEK_SOURCE_DIR "/tests/scenarios"))
         + Seeds{"", "{}", "[]", R"({"seed":1,"faults":[]})"};
}

bool writeSeeds(const Seeds &seeds, const QDir &folder, const QString &strKind)
{
    for (int i = 0; i < seeds.size(); ++i) {
        QFile file(
            folder.filePath(QStringLiteral("%1-%2").arg(strKind).arg(i, 3, 10, QLatin1Char('0'))));
        if (!file.open(QIODevice::WriteOnly) || file.write(seeds[i]) != seeds[i].size())
            return false;
    }
    return true;
}

/** What a target starts from. */
struct sTarget
{
    std::function<Seeds()> m_limits;
    std::function<Seeds()> m_seeds;
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const auto none = [] { return Seeds(); };
    const QMap<QString, sTarget> targets = {
        {QStringLiteral("framing"), {none, framingSeeds}},
        {QStringLiteral("decode"), {decodeLimits, decodeSeeds}},
        {QStringLiteral("layer"), {none, layerSeeds}},
        {QStringLiteral("scene"), {sceneLimits, sceneSeeds}},
        {QStringLiteral("scenario"), {scenarioLimits, scenarioSeeds}}};
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3 || !targets.contains(arguments[1])) {
        std::fprintf(stderr, "usage: %s %s FOLDER\n", argv[0],
                     qPrintable(QStringList(targets.keys()).join(QLatin1Char('|'))));
        return 2;
    }
    const sTarget &target = targets[arguments[1]];
    const QDir folder(arguments[2]);
    if (QDir().mkpath(folder.path())
        && writeSeeds(target.m_limits(), folder, QStringLiteral("limit"))
        && writeSeeds(target.m_seeds(), folder, QStringLiteral("seed")))
        return 0;
    std::fprintf(stderr, "cannot write into %s\n", qPrintable(arguments[2]));
    return 1;
}
