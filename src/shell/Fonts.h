#pragma once
// The window's faces, each with the nearest face a Debian desktop has installed behind it.

#include <QFont>

inline QFont FaceOf(QStringList families, double points, bool bold = false, bool italic = false) {
    QFont font;
    font.setFamilies(families);
    font.setPointSizeF(points);
    font.setBold(bold);
    font.setItalic(italic);
    return font;
}

// DejaVu Sans has Verdana's shapes but runs wider, so that "Current DRS file:" would run into the
// archive's name beside it; its condensed cut fits the designed boxes.
inline QFont Verdana(double points, bool bold = false, bool italic = false) {
    return FaceOf({"Verdana", "DejaVu Sans Condensed", "DejaVu Sans"}, points, bold, italic);
}

inline QFont Arial(double points) { return FaceOf({"Arial", "Liberation Sans"}, points); }

inline QFont Fixedsys(double points) {
    QFont font = FaceOf({"Fixedsys", "DejaVu Sans Mono"}, points);
    font.setStyleHint(QFont::TypeWriter);
    return font;
}
