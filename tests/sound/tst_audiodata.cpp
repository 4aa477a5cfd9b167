#include "soundtest.h"

#include <zornx/cache/streamcache.h>
#include <zornx/sound/audiodata.h>
#include <zornx/sound/audiodata_p.h>
#include <zornx/sound/audiotool.h>
#include <zornx/sound/audiowaveform.h>

#include <QtGui/QCursor>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QPainter>
#include <QtGui/QPalette>
#include <QtGui/QPicture>
#include <QtTest/QtTest>
#include <QtWidgets/QUndoStack>

using namespace Zorn;

namespace {

// 16-bit mono frames of the given values (in 1/1024 steps, so that they decode exactly).
SoundSample mono16(const QVector<int> &values, quint32 frequency = 8000)
{
    SoundSample sample;
    sample.channels = 1;
    sample.bits = 16;
    sample.frequency = frequency;
    sample.samples = quint32(values.size());
    for (int v : values) {
        const qint16 s = qint16(v * 32);
        sample.data.append(reinterpret_cast<const char *>(&s), 2);
    }
    return sample;
}

QByteArray frames(const QVector<int> &values)
{
    return mono16(values).data;
}

QVector<float> round3(const QVector<float> &values)
{
    QVector<float> out;
    for (float v : values)
        out << std::round(v * 1000) / 1000;
    return out;
}

} // namespace

class tst_AudioData : public QObject
{
    Q_OBJECT
    MemoryCache cache;

private Q_SLOTS:
    void setSelection_data()
    {
        QTest::addColumn<int>("samples");
        QTest::addColumn<uint>("start");
        QTest::addColumn<uint>("end");
        QTest::addColumn<uint>("wantStart");
        QTest::addColumn<uint>("wantEnd");
        QTest::newRow("empty sound") << 0 << 3u << 7u << 0u << 0u;
        QTest::newRow("inside") << 10 << 2u << 5u << 2u << 5u;
        QTest::newRow("backward kept") << 10 << 5u << 2u << 5u << 2u;
        QTest::newRow("end past the sound") << 10 << 2u << 50u << 2u << 10u;
        QTest::newRow("start past the sound") << 10 << 40u << 50u << 9u << 10u;
        QTest::newRow("backward past the sound") << 10 << 50u << 40u << 10u << 9u;
        QTest::newRow("point past the sound") << 10 << 12u << 12u << 10u << 9u;
    }
    void setSelection()
    {
        QFETCH(int, samples);
        QFETCH(uint, start);
        QFETCH(uint, end);
        AudioData data(&cache);
        data.setSample(mono16(QVector<int>(samples, 1)));
        QSignalSpy spy(&data, &AudioData::selectionChanged);
        data.setSelection(start, end);
        QTEST(data.selectionStart(), "wantStart");
        QTEST(data.selectionEnd(), "wantEnd");
        QCOMPARE(spy.count(), 1);
    }

    // Every edit is one undo step that brings the bytes back; what the stack remembers lies
    // in the cache.
    void replaceSelection_data()
    {
        QTest::addColumn<uint>("start");
        QTest::addColumn<uint>("end");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("result"); // empty: refused
        QTest::addColumn<int>("commands");      // of the step
        QTest::newRow("remove backward") << 4u << 1u << QByteArray() << frames({0, 4, 5}) << 1;
        QTest::newRow("insert") << 2u << 2u << frames({9, 9}) << frames({0, 1, 9, 9, 2, 3, 4, 5})
                                << 1;
        QTest::newRow("change") << 1u << 3u << frames({7, 8}) << frames({0, 7, 8, 3, 4, 5}) << 1;
        QTest::newRow("longer") << 1u << 2u << frames({7, 8}) << frames({0, 7, 8, 2, 3, 4, 5})
                                << 2;
        QTest::newRow("shorter") << 0u << 5u << frames({7}) << frames({7, 5}) << 2;
        QTest::newRow("half a frame") << 1u << 2u << QByteArray("x") << QByteArray() << 0;
        QTest::newRow("nothing for nothing") << 2u << 2u << QByteArray() << QByteArray() << 0;
    }
    void replaceSelection()
    {
        QFETCH(uint, start);
        QFETCH(uint, end);
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, result);
        QFETCH(int, commands);
        AudioData data(&cache);
        const SoundSample original = mono16({0, 1, 2, 3, 4, 5});
        data.setSample(original);
        data.setSelection(start, end);
        QSignalSpy changed(&data, &AudioData::sampleChanged);
        QCOMPARE(data.replaceSelection(bytes), !result.isEmpty());
        if (result.isEmpty()) {
            QCOMPARE(data.sample().data, original.data);
            QCOMPARE(data.undoStack()->count(), 0);
            return;
        }
        QCOMPARE(changed.count(), 1);
        QCOMPARE(data.sample().data, result);
        QCOMPARE(data.sample().samples, quint32(result.size() / 2));
        QCOMPARE(data.undoStack()->count(), 1);
        const QUndoCommand *step = data.undoStack()->command(0);
        QCOMPARE(qMax(1, step->childCount()), commands);
        // The removed or replaced bytes wait in the cache, not in the command.
        auto *command = static_cast<const SampleUndoCommand *>(
            step->childCount() ? step->child(0) : step);
        const quint32 a = qMin(start, end);
        const QByteArray kept = command->item()->data();
        QVERIFY(kept.isEmpty() || kept == original.data.mid(int(a) * 2, kept.size()));
        data.undoStack()->undo();
        QCOMPARE(data.sample().data, original.data);
        QCOMPARE(data.sample().samples, original.samples);
        data.undoStack()->redo();
        QCOMPARE(data.sample().data, result);
        QCOMPARE(changed.count(), 3);
    }

    void cacheItemsGoBack()
    {
        MemoryCache own;
        {
            AudioData data(&own);
            data.setSample(mono16({1, 2, 3, 4}));
            data.setSelection(1, 3);
            QVERIFY(data.replaceSelection(frames({5})));
            QCOMPARE(data.sample().data, frames({1, 5, 4}));
            QVERIFY(own.find(frames({2, 3})) != nullptr);
        }
        // The commands gave their items back.
        QVERIFY(own.find(frames({2, 3})) == nullptr);
    }

    // Golden columns: the view at zoom 1, drawn in (Bézier between frames), and out (packed
    // min/max pairs), with a shrunk selection.
    void waveform_data()
    {
        QTest::addColumn<double>("zoom");
        QTest::addColumn<uint>("start");
        QTest::addColumn<double>("hScale");
        QTest::addColumn<QVector<float>>("values"); // packed columns as min, max
        QTest::addColumn<int>("packedBits");
        QTest::newRow("zoom 1") << 1.0 << 2u << 1.0
                                << QVector<float>{0.0f, 0.5f, -1.0f, 0.25f, 0.0f, 0.0f} << 0;
        QTest::newRow("zoom 2") << 2.0 << 0u << 1.0
                                << QVector<float>{-0.25f, 0.0f, 0.25f, 0.125f, 0.0f, 0.25f}
                                << 0;
        QTest::newRow("zoom 1/2") << 0.5 << 0u << 1.0
                                  << QVector<float>{-0.25f, 0.25f, 0.0f, 0.5f, -1.0f, 0.25f,
                                                    0.0f, 0.0f}
                                  << 15;
        QTest::newRow("zoom 1/3, past the end") << 1.0 / 3 << 4u << 1.0
                                                << QVector<float>{-1.0f, 0.25f} << 1;
        QTest::newRow("selection shrunk to nothing")
            << 1.0 << 0u << 0.0 << QVector<float>{-0.25f, 0.25f, 0.25f} << 0;
    }
    void waveform()
    {
        QFETCH(double, zoom);
        QFETCH(uint, start);
        QFETCH(double, hScale);
        QFETCH(QVector<float>, values);
        QFETCH(int, packedBits);
        AudioData data(&cache);
        AudioWaveform wave(&data);
        wave.width = 6;
        wave.setZoom(zoom);
        wave.startSample = start;
        data.setSample(mono16({-256, 256, 0, 512, -1024, 256, 0, 0})); // updates the view
        if (hScale != 1.0) {
            data.setSelection(2, 5);
            wave.hScale = hScale;
            wave.update();
        }
        QVector<float> got;
        for (int c = 0; c < wave.columns(); ++c) {
            float lo = wave.values()[c], hi;
            if (wave.isPacked(c))
                AudioWaveform::unpack(lo, &lo, &hi), got << lo << hi;
            else
                got << lo;
        }
        QCOMPARE(round3(got), values);
        QCOMPARE(int(wave.packed().value(0)), packedBits);
    }

    // The painting goes to any paint device; the wave colour shows where the wave is.
    void paint()
    {
        AudioData data(&cache);
        AudioWaveform wave(&data);
        wave.width = 200;
        wave.setZoom(0.5);
        SoundSample sample = SoundTest::tone(2, 16, 8000, 400);
        data.setSample(sample);
        data.setSelection(100, 20);
        QImage image(200, 300, QImage::Format_ARGB32);
        image.fill(Qt::white);
        {
            QPainter painter(&image);
            wave.paint(&painter, QPalette(), Qt::red, 100);
        }
        int red = 0;
        for (int y = 30; y < 240; ++y)
            red += image.pixel(150, y) == qRgb(255, 0, 0);
        QVERIFY(red > 2);
        QPicture picture;
        QPainter painter(&picture);
        wave.paint(&painter, QPalette(), Qt::red, 100);
        painter.end();
        QVERIFY(picture.size() > 0);
        data.setSample(SoundSample()); // no sound, no columns
        QCOMPARE(wave.columns(), 0);
    }

    // The drag previews in place; the release makes one step; undo restores the bytes.
    void selectionMove_data()
    {
        QTest::addColumn<int>("to"); // frame the mouse is released on, pressed on 3
        QTest::addColumn<QByteArray>("result");
        QTest::newRow("right") << 5 << frames({0, 1, 4, 5, 2, 3, 6, 7});
        QTest::newRow("left, clamped") << 0 << frames({2, 3, 0, 1, 4, 5, 6, 7});
        QTest::newRow("right, clamped") << 7 << frames({0, 1, 4, 5, 6, 7, 2, 3});
        QTest::newRow("back where it was") << 3 << frames({0, 1, 2, 3, 4, 5, 6, 7});
    }
    void selectionMove()
    {
        QFETCH(int, to);
        QFETCH(QByteArray, result);
        AudioData data(&cache);
        AudioWaveform wave(&data);
        SelectionMoveTool tool(&data, &wave);
        const SoundSample original = mono16({0, 1, 2, 3, 4, 5, 6, 7});
        data.setSample(original);
        data.setSelection(4, 2); // backward
        QCursor cursor;
        tool.mousePress({}, Qt::LeftButton, {}, 3, 0, cursor);
        for (int x = 3; x != to; x += to > 3 ? 1 : -1)
            tool.mouseMove({}, {}, quint32(x), 0, cursor);
        tool.mouseMove({}, {}, quint32(to), 0, cursor);
        QCOMPARE(data.sample().data, result); // the preview
        tool.mouseRelease({}, Qt::LeftButton, {}, quint32(to), 0, cursor);
        QCOMPARE(data.sample().data, result);
        QCOMPARE(data.undoStack()->count(), result == original.data ? 0 : 1);
        data.undoStack()->undo();
        QCOMPARE(data.sample().data, original.data);
        // Shift with an arrow moves by one frame, one step a key.
        data.undoStack()->clear();
        data.setSelection(2, 4);
        QVERIFY(tool.keyPress(Qt::ShiftModifier, Qt::Key_Right));
        QVERIFY(tool.keyPress(Qt::ShiftModifier, Qt::Key_Right));
        QCOMPARE(data.sample().data, frames({0, 1, 4, 5, 2, 3, 6, 7}));
        QCOMPARE(data.undoStack()->count(), 2);
        QVERIFY(!tool.keyPress({}, Qt::Key_Right));
    }

    // Stretching: to width 0 removes the selection; long sounds do not overflow; a ratio
    // beyond the resampler's changes nothing.
    void horizontalResize_data()
    {
        QTest::addColumn<int>("frames");
        QTest::addColumn<uint>("start");
        QTest::addColumn<uint>("end");
        QTest::addColumn<int>("releaseAt"); // pressed on end
        QTest::addColumn<int>("newFrames");
        QTest::newRow("to width 0") << 100 << 10u << 20u << 10 << 90;
        QTest::newRow("beyond the left") << 100 << 10u << 20u << 0 << 90;
        QTest::newRow("twice") << 100 << 10u << 20u << 30 << 110;
        QTest::newRow("long sound, twice") << 200000 << 0u << 100000u << 200000 << 300000;
        QTest::newRow("ratio beyond 256") << 1000 << 0u << 1u << 999 << 1000;
    }
    void horizontalResize()
    {
        QFETCH(int, frames);
        QFETCH(uint, start);
        QFETCH(uint, end);
        QFETCH(int, releaseAt);
        AudioData data(&cache);
        AudioWaveform wave(&data);
        HResizeTool tool(&data, &wave);
        data.setSample(SoundTest::tone(1, 16, 48000, quint32(frames)));
        data.setSelection(start, end);
        QCursor cursor;
        tool.mousePress({}, Qt::LeftButton, {}, end, 0, cursor);
        tool.mouseMove({}, {}, quint32(releaseAt), 0, cursor);
        tool.mouseRelease({}, Qt::LeftButton, {}, quint32(releaseAt), 0, cursor);
        QTEST(int(data.sample().samples), "newFrames");
        QCOMPARE(wave.hScale, 1.0);
    }

    void tools()
    {
        AudioData data(&cache);
        AudioWaveform wave(&data);
        wave.width = 100;
        data.setSample(mono16(QVector<int>(1000, 512)));
        QCursor cursor;
        // An empty zoom drag leaves the view alone; a drag zooms onto it.
        ZoomTool zoom(&data, &wave);
        data.setSelection(5, 9);
        zoom.mousePress({}, Qt::LeftButton, {}, 40, 0, cursor);
        zoom.mouseRelease({}, Qt::LeftButton, {}, 40, 0, cursor);
        QCOMPARE(wave.zoom, 1.0);
        zoom.mousePress({}, Qt::LeftButton, {}, 250, 0, cursor);
        zoom.mouseMove({}, {}, 200, 0, cursor);
        zoom.mouseRelease({}, Qt::LeftButton, {}, 200, 0, cursor);
        QCOMPARE(wave.zoom, 2.0);
        QCOMPARE(wave.startSample, 200u);
        QCOMPARE(data.selectionEnd(), 9u);
        // Panning at zoom 2: 10 pixels to the left are 5 frames on.
        MoveTool move(&data, &wave);
        move.mousePress({}, Qt::LeftButton, {50, 0}, 0, 0, cursor);
        move.mouseMove({}, {40, 0}, 0, 0, cursor);
        QCOMPARE(wave.startSample, 205u);
        move.mouseMove({}, {10000, 0}, 0, 0, cursor);
        QCOMPARE(wave.startSample, 0u);
        // The amplitude, clamped at the top of the range.
        VResizeTool volume(&data, &wave);
        volume.mousePress({}, Qt::LeftButton, {}, 6, 0.5f, cursor);
        volume.mouseMove({}, {}, 6, 0.5f + 99, cursor);
        QCOMPARE(wave.vScale, 100.0);
        volume.mouseRelease({}, Qt::LeftButton, {}, 6, 0.5f + 99, cursor);
        QCOMPARE(wave.vScale, 1.0);
        QCOMPARE(data.sample().data.mid(10, 4), QByteArray("\xff\x7f\xff\x7f"));
        QCOMPARE(data.sample().data.mid(18, 2), frames({512}));
        // Shift with an arrow moves the end of the selection.
        SelectionTool select(&data, &wave);
        QVERIFY(select.keyPress(Qt::ShiftModifier, Qt::Key_Left));
        QCOMPARE(data.selectionEnd(), 8u);
    }
};

QTEST_MAIN(tst_AudioData)
#include "tst_audiodata.moc"
