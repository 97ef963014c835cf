// As one writes it with OpenCV: a thread that receives and decodes, and a loop at the layers' rate
// that takes each layer's part of the picture, scales it and sets its alpha.

#include "way.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <QTcpSocket>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace Morvek::Benchmarks {

namespace {

/** The newest picture of the stream. */
class Stream
{
public:
    explicit Stream(quint16 nPort)
        : m_thread([this, nPort] { receive(nPort); })
    {}
    ~Stream()
    {
        m_isOver = true;
        m_thread.join();
    }

    cv::Mat picture()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_picture;
    }

private:
    void receive(quint16 nPort)
    {
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), nPort);
        socket.waitForConnected(5000);
        int nLength = 0;
        while (!m_isOver) {
            if (nLength == 0 && socket.canReadLine()) {
                const QByteArray line = socket.readLine();
                if (line.startsWith("Content-Length:")) {
                    nLength = line.mid(15).trimmed().toInt();
                    while (!socket.canReadLine() && socket.waitForReadyRead(100))
                        ;
                    socket.readLine();
                }
            } else if (nLength > 0 && socket.bytesAvailable() >= nLength) {
                decode(socket.read(nLength));
                nLength = 0;
            } else {
                socket.waitForReadyRead(100);
            }
        }
    }

    void decode(const QByteArray &baPicture)
    {
        const cv::Mat bytes(1, baPicture.size(), CV_8UC1,
                            const_cast<char *>(baPicture.constData()));
        const cv::Mat picture = cv::imdecode(bytes, cv::IMREAD_COLOR);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_picture = picture;
    }

    std::atomic_bool m_isOver{false};
    std::mutex m_mutex;
    cv::Mat m_picture; // guarded by m_mutex
    std::thread m_thread;
};

/** Draws one layer after the other, each on a canvas of its own. */
class Renderer
{
public:
    explicit Renderer(const sWork &work)
        : m_work(work)
        , m_canvases(std::size_t(work.m_nLayers))
        , m_alpha(LayerSize.height(), LayerSize.width(), CV_8UC1, cv::Scalar(255 * work.opacity()))
    {}

    void render(const cv::Mat &picture, const Delivered &delivered)
    {
        for (int i = 0; i < m_work.m_nLayers; ++i) {
            cv::Mat &canvas = m_canvases[std::size_t(i)];
            draw(picture, i, canvas);
            delivered(i, QImage(canvas.data, canvas.cols, canvas.rows, int(canvas.step),
                                QImage::Format_ARGB32));
        }
    }

private:
    void draw(const cv::Mat &picture, int nLayer, cv::Mat &canvas)
    {
        const QRect part = m_work.shownPart();
        const cv::Rect rect(nLayer % InputColumns * TileSize.width() + part.x(),
                            nLayer % InputCount / InputColumns * TileSize.height() + part.y(),
                            part.width(), part.height());
        cv::resize(picture(rect), m_scaled, cv::Size(LayerSize.width(), LayerSize.height()), 0, 0,
                   cv::INTER_NEAREST);
        canvas.create(LayerSize.height(), LayerSize.width(), CV_8UC4);
        const cv::Mat sources[] = {m_scaled, m_alpha};
        const int pairs[] = {0, 0, 1, 1, 2, 2, 3, 3};
        cv::mixChannels(sources, 2, &canvas, 1, pairs, 4);
    }

    const sWork m_work;
    std::vector<cv::Mat> m_canvases;
    const cv::Mat m_alpha;
    cv::Mat m_scaled;
};

} // namespace

void renderWithOpenCv(const sWork &work, const Delivered &delivered,
                      const std::function<bool()> &isOver)
{
    cv::setNumThreads(1);
    Stream stream(work.m_nPort);
    Renderer renderer(work);
    auto next = std::chrono::steady_clock::now();
    while (!isOver()) {
        const cv::Mat picture = stream.picture();
        if (!picture.empty())
            renderer.render(picture, delivered);
        next += std::chrono::milliseconds(1000 / LayersFps);
        std::this_thread::sleep_until(next);
    }
}

} // namespace Morvek::Benchmarks
