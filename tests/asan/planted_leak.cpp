// Loses the only pointer to a picture.

#include <QImage>

namespace {

__attribute__((noinline)) int forgetPicture(int nWidth)
{
    const auto *const pPicture = new QImage(nWidth, 4, QImage::Format_RGB32);
    return pPicture->isNull() ? 1 : 0;
}

} // namespace

int main(int argc, char **)
{
    return forgetPicture(4 * argc);
}
