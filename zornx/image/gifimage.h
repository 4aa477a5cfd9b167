#ifndef ZORNX_IMAGE_GIFIMAGE_H
#define ZORNX_IMAGE_GIFIMAGE_H

#include <zornx/core/color.h>

#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QVector>
#include <QtGui/QImage>

class QIODevice;

namespace Zorn {

// A GIF file with all its frames in memory, read and written through giflib.
class ZORNX_EXPORT GIFImage
{
public:
    struct SubImage
    {
        // Format_Indexed8, or Format_Mono for a file of colour resolution 1 with two colours.
        QImage image;
        // The frame's own colours; empty when the global map serves.
        QVector<RGB> colorMap;
        unsigned short left = 0;
        unsigned short top = 0;
        // Transparent index; 65535 (any value negative as a signed 16-bit number) for none.
        unsigned short transparent = 65535;
        // Hundredths of a second. Written truncated, the remainder carried to the next frame.
        float delay = 0;
    };

    GIFImage() = default;
    GIFImage(unsigned short width, unsigned short height, bool loop);

    bool canLoop() const { return loop; }
    void setLoop(bool value) { loop = value; }
    unsigned short width() const { return w; }
    void setWidth(unsigned short value) { w = value; }
    unsigned short height() const { return h; }
    void setHeight(unsigned short value) { h = value; }
    QVector<RGB> globalColorMap() const { return colors; }
    QVector<RGB> &globalColorMap() { return colors; }
    QList<SubImage> images() const { return frames; }
    QList<SubImage> &images() { return frames; }

    // A device that is not readable is opened read-only. True when giflib could read the whole
    // file; what could be read before an error is kept all the same.
    bool load(QIODevice *device);
    // False without images. A device that is not writable is opened write-only. GIF89, never
    // interlaced; control blocks (delay, disposal, transparency) only with more than one frame.
    bool save(QIODevice *device);

private:
    bool loop = false;
    unsigned short w = 0;
    unsigned short h = 0;
    QVector<RGB> colors;
    QList<SubImage> frames;
};

// One frame of an animation to be written as a GIF. offset is the distance from the picture's
// top-left corner to the animation's origin, both coordinates counted positive; time is in
// ticks of 1/60 second.
struct AnimImageFrame
{
    QImage image;
    QPoint offset;
    int time = 0;
};

// Writes frames of any format as a looping or one-shot GIF. scale at or below 0 counts as 1;
// velocity divides every delay. True-colour animations share one quantized table; otherwise
// each frame keeps its own table, or with sharedPalette the first frame's serves all. Index 0
// is transparent in quantized tables. False with no frames or no device.
ZORNX_EXPORT bool saveGIF(QIODevice *device, const QVector<AnimImageFrame> &frames, float scale,
                          float velocity, bool sharedPalette, bool loop);

struct OctreeNode;

// Reduces true-colour pictures to at most maxColors colours with an octree of colorBits levels.
class ZORNX_EXPORT ColorQuantizer
{
public:
    ColorQuantizer(int maxColors, int colorBits);
    ~ColorQuantizer();
    ColorQuantizer(const ColorQuantizer &) = delete;
    ColorQuantizer &operator=(const ColorQuantizer &) = delete;

    // Adds every pixel; may be called for several pictures. Always true.
    bool processImage(const QImage &image);
    // The leaves' mean colours in tree order from entry 0, zeros behind them.
    void getColorTable(RGBA (&table)[256]);
    int colorCount() const { return leafCount; }

private:
    void addColor(int r, int g, int b, int a);
    void reduceTree();

    OctreeNode *root = nullptr;
    int leafCount = 0;
    OctreeNode *reducible[8] = {};
    int maxColors;
    int colorBits;
};

} // namespace Zorn

#endif
