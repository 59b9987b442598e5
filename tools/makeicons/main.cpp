// Paints every image of the widget library's resource set with QPainter: antialiased vector
// shapes on a 16-unit grid, scaled to the image size, in one palette.
//
// Usage: makeicons <output folder>

#include <QDir>
#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QTextStream>

#include <cmath>
#include <functional>

namespace {

// The palette.
const QColor kBlue(0x1f, 0x6f, 0xd1);
const QColor kBlueDark(0x12, 0x4a, 0x94);
const QColor kBlueLight(0x5a, 0x9b, 0xea);
const QColor kAmber(0xf5, 0xb3, 0x1b);
const QColor kAmberDark(0xb9, 0x7c, 0x05);
const QColor kRed(0xd8, 0x3b, 0x2f);
const QColor kRedDark(0x9e, 0x22, 0x19);
const QColor kGreen(0x2e, 0x9e, 0x48);
const QColor kGreenDark(0x1b, 0x6b, 0x2e);
const QColor kGold(0xf7, 0xc5, 0x2b);
const QColor kGoldDark(0xb8, 0x86, 0x00);
const QColor kGrey(0x6b, 0x72, 0x80);
const QColor kGreyDark(0x3f, 0x45, 0x50);
const QColor kInk(0x22, 0x2a, 0x35);

using Painter = std::function<void(QPainter&)>;

QImage paintIcon(int size, const Painter& paint)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 16.0, size / 16.0);
    paint(p);
    p.end();
    return image;
}

QLinearGradient verticalGradient(const QColor& top, const QColor& bottom, qreal y0 = 0, qreal y1 = 16)
{
    QLinearGradient g(0, y0, 0, y1);
    g.setColorAt(0, top);
    g.setColorAt(1, bottom);
    return g;
}

void disc(QPainter& p, const QColor& light, const QColor& dark)
{
    p.setPen(QPen(dark, 0.9));
    p.setBrush(verticalGradient(light, dark.lighter(115), 1, 15));
    p.drawEllipse(QRectF(1.0, 1.0, 14.0, 14.0));
}

void info(QPainter& p)
{
    disc(p, kBlueLight, kBlueDark);
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawEllipse(QRectF(7.0, 3.4, 2.0, 2.0));
    QPainterPath stem;
    stem.addRoundedRect(QRectF(7.0, 6.6, 2.0, 6.2), 0.5, 0.5);
    p.drawPath(stem);
    p.drawRoundedRect(QRectF(5.9, 6.6, 2.2, 1.1), 0.3, 0.3);
    p.drawRoundedRect(QRectF(5.9, 11.7, 4.2, 1.1), 0.3, 0.3);
}

void exclamation(QPainter& p)
{
    QPainterPath triangle;
    triangle.moveTo(8.0, 1.3);
    triangle.lineTo(15.2, 14.4);
    triangle.lineTo(0.8, 14.4);
    triangle.closeSubpath();
    p.setPen(QPen(kAmberDark, 0.9, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(verticalGradient(kAmber.lighter(118), kAmber, 1, 15));
    p.drawPath(triangle);
    p.setPen(Qt::NoPen);
    p.setBrush(kInk);
    QPainterPath bar;
    bar.moveTo(7.05, 5.2);
    bar.lineTo(8.95, 5.2);
    bar.lineTo(8.5, 10.2);
    bar.lineTo(7.5, 10.2);
    bar.closeSubpath();
    p.drawPath(bar);
    p.drawEllipse(QRectF(7.0, 11.0, 2.0, 2.0));
}

void crossStrokes(QPainter& p, const QColor& color, qreal inset, qreal width)
{
    p.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(inset, inset), QPointF(16 - inset, 16 - inset));
    p.drawLine(QPointF(16 - inset, inset), QPointF(inset, 16 - inset));
}

void error(QPainter& p)
{
    disc(p, kRed.lighter(125), kRedDark);
    crossStrokes(p, Qt::white, 5.2, 1.8);
}

void cross(QPainter& p)
{
    // The "clear" mark of a search field: a soft grey disc with a white cross.
    p.setPen(Qt::NoPen);
    p.setBrush(kGrey);
    p.drawEllipse(QRectF(1.5, 1.5, 13.0, 13.0));
    crossStrokes(p, Qt::white, 5.2, 1.7);
}

QPainterPath starPath(QPointF centre, qreal outer, qreal inner)
{
    QPainterPath path;
    for (int i = 0; i < 10; ++i) {
        const qreal r = (i % 2 == 0) ? outer : inner;
        const qreal a = -M_PI / 2 + i * M_PI / 5;
        const QPointF pt(centre.x() + r * std::cos(a), centre.y() + r * std::sin(a));
        if (i == 0)
            path.moveTo(pt);
        else
            path.lineTo(pt);
    }
    path.closeSubpath();
    return path;
}

void star(QPainter& p)
{
    p.setPen(QPen(kGoldDark, 0.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(verticalGradient(kGold.lighter(120), kGold, 1, 13));
    p.drawPath(starPath(QPointF(7.0, 7.3), 6.4, 2.7));
}

void badge(QPainter& p, const QColor& fill, bool plus)
{
    // A white halo separates the badge from the star.
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawEllipse(QRectF(6.6, 6.6, 9.4, 9.4));
    p.setBrush(fill);
    p.drawEllipse(QRectF(7.5, 7.5, 8.0, 8.0));
    p.setPen(QPen(Qt::white, 1.8, Qt::SolidLine, Qt::FlatCap));
    p.drawLine(QPointF(9.2, 11.5), QPointF(13.8, 11.5));
    if (plus)
        p.drawLine(QPointF(11.5, 9.2), QPointF(11.5, 13.8));
}

void favoritePlus(QPainter& p)
{
    star(p);
    badge(p, kGreen, true);
}

void favoriteMinus(QPainter& p)
{
    star(p);
    badge(p, kRed, false);
}

void arrow(QPainter& p, bool up)
{
    if (!up) {
        p.translate(0, 16);
        p.scale(1, -1);
    }
    QPainterPath path;
    path.moveTo(8.0, 1.5);
    path.lineTo(14.5, 8.2);
    path.lineTo(10.4, 8.2);
    path.lineTo(10.4, 14.5);
    path.lineTo(5.6, 14.5);
    path.lineTo(5.6, 8.2);
    path.lineTo(1.5, 8.2);
    path.closeSubpath();
    p.setPen(QPen(kBlueDark, 0.9, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(verticalGradient(up ? kBlueLight : kBlue, up ? kBlue : kBlueLight, 1, 15));
    p.drawPath(path);
}

void moveUp(QPainter& p) { arrow(p, true); }
void moveDown(QPainter& p) { arrow(p, false); }

void refresh(QPainter& p)
{
    // One arc of 290 degrees, open at the upper right, ending in an arrow head that points up.
    const QPointF c(8.0, 8.3);
    const qreal r = 5.3;
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(kGreen, 2.2, Qt::SolidLine, Qt::FlatCap));
    p.drawArc(QRectF(c.x() - r, c.y() - r, 2 * r, 2 * r), 70 * 16, 280 * 16);
    const qreal a = 350.0 * M_PI / 180.0;
    const QPointF at(c.x() + r * std::cos(a), c.y() - r * std::sin(a));
    const QPointF t(-std::sin(a), -std::cos(a)); // direction of travel on screen
    const QPointF n(std::cos(a), -std::sin(a));  // outwards
    QPainterPath tri;
    tri.moveTo(at + t * 3.6);
    tri.lineTo(at + n * 3.2);
    tri.lineTo(at - n * 3.2);
    tri.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(kGreen);
    p.drawPath(tri);
}

void searchLens(QPainter& p)
{
    p.setPen(QPen(kGreyDark, 2.6, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(10.2, 10.2), QPointF(14.2, 14.2));
    p.setPen(QPen(kGreyDark, 1.6));
    QRadialGradient glass(QPointF(5.5, 5.0), 6.0);
    glass.setColorAt(0, QColor(255, 255, 255));
    glass.setColorAt(1, QColor(0xd6, 0xe6, 0xf7));
    p.setBrush(glass);
    p.drawEllipse(QRectF(1.6, 1.6, 9.6, 9.6));
}

// The about box's background: 500 x 270. A lens emblem on the left, the maker's word mark at
// the top right, and a calm light field where the dialog puts its text (x 190 to 439, y 80 to 239).
QImage aboutBackground()
{
    QImage image(500, 270, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);

    QLinearGradient field(0, 0, 500, 270);
    field.setColorAt(0, QColor(0xfb, 0xfc, 0xfe));
    field.setColorAt(1, QColor(0xe4, 0xec, 0xf6));
    p.fillRect(image.rect(), field);

    // Left panel in the brand blue.
    QLinearGradient panel(0, 0, 0, 270);
    panel.setColorAt(0, kBlue);
    panel.setColorAt(1, kBlueDark);
    QPainterPath panelPath;
    panelPath.moveTo(0, 0);
    panelPath.lineTo(168, 0);
    panelPath.cubicTo(150, 90, 150, 180, 176, 270);
    panelPath.lineTo(0, 270);
    panelPath.closeSubpath();
    p.fillPath(panelPath, panel);
    p.setPen(QPen(QColor(255, 255, 255, 160), 2.0));
    QPainterPath edge;
    edge.moveTo(168, 0);
    edge.cubicTo(150, 90, 150, 180, 176, 270);
    p.drawPath(edge);

    // Lens emblem: barrel rings and six aperture blades.
    const QPointF c(82, 135);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, 40));
    p.drawEllipse(c, 66, 66);
    p.setBrush(QColor(0x0b, 0x2f, 0x63));
    p.drawEllipse(c, 56, 56);
    p.setPen(QPen(QColor(255, 255, 255, 200), 2.0));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(c, 56, 56);
    p.setPen(QPen(QColor(255, 255, 255, 90), 1.0));
    p.drawEllipse(c, 47, 47);
    for (int i = 0; i < 6; ++i) {
        const qreal a0 = i * M_PI / 3.0;
        const qreal a1 = a0 + M_PI / 3.0;
        QPainterPath blade;
        blade.moveTo(c + QPointF(44 * std::cos(a0), 44 * std::sin(a0)));
        blade.lineTo(c + QPointF(44 * std::cos(a1), 44 * std::sin(a1)));
        blade.lineTo(c + QPointF(17 * std::cos(a1 + 0.45), 17 * std::sin(a1 + 0.45)));
        blade.closeSubpath();
        QLinearGradient shade(c + QPointF(44 * std::cos(a0), 44 * std::sin(a0)), c);
        shade.setColorAt(0, QColor(0x3d, 0x86, 0xe0));
        shade.setColorAt(1, QColor(0x1a, 0x57, 0xa8));
        p.setPen(QPen(QColor(0x0b, 0x2f, 0x63), 1.2));
        p.setBrush(shade);
        p.drawPath(blade);
    }
    // The opening, with a glint.
    QRadialGradient opening(c + QPointF(-4, -4), 18);
    opening.setColorAt(0, QColor(0x4f, 0xc3, 0xf7));
    opening.setColorAt(1, QColor(0x06, 0x1a, 0x3a));
    p.setPen(Qt::NoPen);
    p.setBrush(opening);
    QPainterPath hole;
    for (int i = 0; i < 6; ++i) {
        const qreal a = i * M_PI / 3.0 + M_PI / 3.0 + 0.45;
        const QPointF pt = c + QPointF(17 * std::cos(a), 17 * std::sin(a));
        if (i == 0)
            hole.moveTo(pt);
        else
            hole.lineTo(pt);
    }
    hole.closeSubpath();
    p.drawPath(hole);
    p.setBrush(QColor(255, 255, 255, 190));
    p.drawEllipse(c + QPointF(-6, -6), 3.2, 3.2);

    // Word mark at the top right.
    QFont mark(QStringLiteral("DejaVu Sans"));
    mark.setPixelSize(30);
    mark.setBold(true);
    mark.setLetterSpacing(QFont::AbsoluteSpacing, 6);
    p.setFont(mark);
    p.setPen(kBlueDark);
    p.drawText(QRectF(190, 18, 249, 44), Qt::AlignCenter, QStringLiteral("KESDOR"));
    p.setPen(QPen(kBlue, 2.0));
    p.drawLine(QPointF(250, 64), QPointF(379, 64));

    // A few faint arcs behind the text field, echoing the lens.
    p.setBrush(Qt::NoBrush);
    for (int i = 0; i < 4; ++i) {
        p.setPen(QPen(QColor(0x1f, 0x6f, 0xd1, 18 + 6 * i), 1.5));
        p.drawEllipse(QPointF(560, 300), 120 + 40 * i, 120 + 40 * i);
    }
    p.end();
    return image;
}

// The maker's web address as an image for the about box's lower strip.
QImage webAddressStrip()
{
    const QString text = QStringLiteral("www.kesdor.com");
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(15);
    font.setBold(true);
    const QFontMetricsF metrics(font);
    const int width = int(std::ceil(metrics.horizontalAdvance(text))) + 30;
    QImage image(width, 24, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    // A small globe before the address.
    const QPointF c(10, 12);
    p.setPen(QPen(kBlue, 1.4));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(c, 8, 8);
    p.drawEllipse(c, 3.5, 8);
    p.drawLine(QPointF(2, 12), QPointF(18, 12));
    p.setFont(font);
    p.setPen(kBlueDark);
    p.drawText(QRectF(26, 0, width - 26, 24), Qt::AlignVCenter | Qt::AlignLeft, text);
    p.end();
    return image;
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        QTextStream(stderr) << "usage: makeicons <output folder>\n";
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    struct Icon
    {
        const char* file;
        int size;
        Painter paint;
    };
    const Icon icons[] = {
        {"info.png", 16, info},
        {"info32.png", 32, info},
        {"exclamation.png", 16, exclamation},
        {"exclamation32.png", 32, exclamation},
        {"error.png", 16, error},
        {"cross_16.png", 16, cross},
        {"Favorite_plus.png", 16, favoritePlus},
        {"Favorite_minus.png", 16, favoriteMinus},
        {"Move_Up.png", 16, moveUp},
        {"Move_Down.png", 16, moveDown},
        {"refresh.png", 16, refresh},
        {"searchlens_16.png", 16, searchLens},
    };
    bool ok = true;
    for (const Icon& icon : icons)
        ok &= paintIcon(icon.size, icon.paint).save(out.filePath(QLatin1String(icon.file)));
    ok &= aboutBackground().save(out.filePath(QStringLiteral("AboutBackground.png")));
    ok &= webAddressStrip().save(out.filePath(QStringLiteral("KesdorwebDotCom.png")));
    // A contact sheet at 8x for looking at the icons.
    if (argc > 2) {
        QImage sheet(16 * 8 * 6 + 70, 16 * 8 * 2 + 30, QImage::Format_ARGB32_Premultiplied);
        sheet.fill(Qt::white);
        QPainter p(&sheet);
        int i = 0;
        for (const Icon& icon : icons) {
            const QImage img = paintIcon(icon.size, icon.paint);
            const QRect target((i % 6) * (128 + 10) + 5, (i / 6) * (128 + 10) + 5, 128, 128);
            p.drawImage(target, img.scaled(128, 128, Qt::IgnoreAspectRatio, Qt::FastTransformation));
            ++i;
        }
        p.end();
        ok &= sheet.save(QString::fromLocal8Bit(argv[2]));
    }
    return ok ? 0 : 1;
}
