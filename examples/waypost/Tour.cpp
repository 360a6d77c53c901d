// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Tour.h"

#include "XmlText.h"

#include <qvutil/XmlFiler.h>

#include <QtMath>

#include <algorithm>
#include <cmath>
#include <iterator>

using namespace Qt::StringLiterals;
using Quorvin::Util::EnumValueName;
using Quorvin::Util::XmlFiler;
using Quorvin::Util::XmlLoadError;

namespace {

// The operations on enumerations take a table that is not const, so each call makes one.
//! [names]
QList<EnumValueName> PointKindNames()
{
    return {
        {int(PointKind::Track), u"Track"_s},   {int(PointKind::Start), u"Start"_s},
        {int(PointKind::Summit), u"Summit"_s}, {int(PointKind::Hut), u"Hut"_s},
        {int(PointKind::View), u"View"_s},     {int(PointKind::Water), u"Water"_s},
        {int(PointKind::End), u"End"_s},
    };
}
//! [names]

QList<EnumValueName> TourKindNames()
{
    return {
        {int(TourKind::Hike), u"Hike"_s},
        {int(TourKind::Climb), u"Climb"_s},
        {int(TourKind::Ski), u"Ski"_s},
        {int(TourKind::Ride), u"Ride"_s},
    };
}

int Count(const QList<EnumValueName>& names)
{
    return static_cast<int>(names.size());
}

} // namespace

double Distance(const Point& from, const Point& to)
{
    constexpr double kEarthRadius = 6371000;
    const double latitude = qDegreesToRadians((from.Latitude + to.Latitude) / 2);
    const double north = qDegreesToRadians(to.Latitude - from.Latitude);
    const double east = qDegreesToRadians(to.Longitude - from.Longitude) * std::cos(latitude);
    return kEarthRadius * std::hypot(north, east);
}

double Tour::Length() const
{
    double length = 0;
    for (qsizetype i = 1; i < Points.size(); ++i)
        length += Distance(Points[i - 1], Points[i]);
    return length;
}

double Tour::Ascent() const
{
    double ascent = 0;
    for (qsizetype i = 1; i < Points.size(); ++i)
        ascent += std::max(0.0, Points[i].Elevation - Points[i - 1].Elevation);
    return ascent;
}

int Tour::InsertWaypoint(int after, const QString& name)
{
    const int index = after + 1;
    if (after < 0) {
        Points.insert(index, {name, PointKind::Start, 47.4, 11.0, 800});
        return index;
    }
    const Point& from = Points[after];
    const Point to = index < Points.size()
        ? Points[index]
        : Point{{}, PointKind::Track, from.Latitude + 0.01, from.Longitude + 0.01, from.Elevation};
    Points.insert(index,
                  {name, PointKind::View, (from.Latitude + to.Latitude) / 2,
                   (from.Longitude + to.Longitude) / 2, std::round((from.Elevation + to.Elevation) / 2)});
    return index;
}

void Tour::RemoveWaypoint(int index)
{
    Points[index].Name.clear();
    Points[index].Kind = PointKind::Track;
}

//! [load]
std::optional<Tour> Tour::Load(const QString& file, TourError& error)
{
    XmlFiler filer;
    if (!filer.LoadFromXmlFile(file)) {
        const XmlLoadError reason = filer.GetLoadError();
        error = {reason.Line > 0 ? TourError::Reason::Damaged : TourError::Reason::Unreadable, reason.Text,
                 reason.Line, reason.Column};
        return std::nullopt;
    }
    Tour tour;
    if (!tour.ReadFrom(filer)) {
        error = {TourError::Reason::NotATour, {}, 0, 0};
        return std::nullopt;
    }
    return tour;
}
//! [load]

//! [save]
bool Tour::Save(const QString& file) const
{
    XmlFiler filer;
    WriteTo(filer);
    return filer.SaveAsXmlFile(file); // atomic: a full disk or a power cut leaves the old file
}
//! [save]

std::optional<Tour> Tour::FromXml(const QString& xml)
{
    XmlFiler filer;
    Tour tour;
    if (!filer.LoadFromXmlString(xml) || !tour.ReadFrom(filer))
        return std::nullopt;
    return tour;
}

QString Tour::ToXml() const
{
    XmlFiler filer;
    WriteTo(filer);
    return filer.SaveAsXmlString();
}

//! [read]
bool Tour::ReadFrom(XmlFiler& filer)
{
    filer.TranslateEnabled = false; // the texts are the user's own: do not translate "tr(ail)"
    if (filer.GetCurrentNodeName() != "Tour"_L1)
        return false;

    QList<EnumValueName> tourKinds = TourKindNames();
    Name = filer.ReadString(u"Name"_s, QString());
    Date = filer.ReadDate(u"Date"_s, QDateTime());
    Kind = static_cast<TourKind>(
        filer.ReadEnum(u"Kind"_s, int(TourKind::Hike), tourKinds.data(), Count(tourKinds)));
    Section = filer.ReadRect(u"Map"_s, u"Section"_s, QRect());
    Notes = filer.ReadNodeText(u"Notes"_s);
    Thumbnail = filer.ReadBuffer(u"Thumbnail"_s);

    QList<EnumValueName> pointKinds = PointKindNames();
    if (!filer.MoveToNode(u"Points"_s))
        return true; // a tour without points
    for (bool found = filer.MoveToFirstChild(); found; found = filer.MoveToNextSibling()) {
        const QString name = filer.ReadString(u"Name"_s, QString());
        // A waypoint of an unknown kind, perhaps from a newer version, must not become a point of the track.
        const PointKind fallback = name.isEmpty() ? PointKind::Track : PointKind::View;
        Points.append({name,
                       static_cast<PointKind>(
                           filer.ReadEnum(u"Kind"_s, int(fallback), pointKinds.data(), Count(pointKinds))),
                       filer.ReadDouble(u"Latitude"_s, 0), filer.ReadDouble(u"Longitude"_s, 0),
                       filer.ReadDouble(u"Elevation"_s, 0)});
    }
    return true;
}
//! [read]

//! [write]
void Tour::WriteTo(XmlFiler& filer) const
{
    filer.CreateXmlDeclaration();
    filer.CreateRoot(u"Tour"_s);

    QList<EnumValueName> tourKinds = TourKindNames();
    filer.WriteString(u"Name"_s, XmlText(Name));
    filer.WriteDate(u"Date"_s, Date);
    filer.WriteEnum(u"Kind"_s, int(Kind), tourKinds.data(), Count(tourKinds));
    if (!Section.isNull())
        filer.WriteRect(u"Map"_s, u"Section"_s, Section);
    if (!Notes.isEmpty())
        filer.WriteNodeText(u"Notes"_s, XmlText(Notes));
    if (!Thumbnail.isEmpty())
        filer.WriteBuffer(u"Thumbnail"_s, Thumbnail);

    QList<EnumValueName> pointKinds = PointKindNames();
    for (const Point& point : Points) {
        filer.CreateNode(u"/Points/Point"_s, false); // false: add an element each time
        if (!point.Name.isEmpty())
            filer.WriteString(u"Name"_s, XmlText(point.Name));
        filer.WriteEnum(u"Kind"_s, int(point.Kind), pointKinds.data(), Count(pointKinds));
        filer.WriteDouble(u"Latitude"_s, point.Latitude);
        filer.WriteDouble(u"Longitude"_s, point.Longitude);
        filer.WriteDouble(u"Elevation"_s, point.Elevation);
    }
    filer.MoveToRoot();
}
//! [write]

bool Tour::ExportGpx(const QString& file) const
{
    XmlFiler filer;
    filer.CreateXmlDeclaration();
    filer.CreateRoot(u"gpx"_s);
    filer.WriteString(u"version"_s, u"1.1"_s);
    filer.WriteString(u"creator"_s, u"Waypost"_s);
    filer.WriteString(u"xmlns"_s, u"http://www.topografix.com/GPX/1/1"_s);
    const auto writePlace = [&filer](const Point& point) {
        filer.WriteDouble(u"lat"_s, point.Latitude);
        filer.WriteDouble(u"lon"_s, point.Longitude);
        filer.WriteNodeText(u"ele"_s, QString::number(point.Elevation, 'f', 1));
    };
    for (const Point& point : Points) {
        if (point.Kind == PointKind::Track)
            continue;
        filer.CreateNode(u"/wpt"_s, false);
        writePlace(point);
        filer.WriteNodeText(u"name"_s, XmlText(point.Name));
    }
    filer.WriteNodeText(u"/trk/name"_s, XmlText(Name));
    for (const Point& point : Points) {
        filer.CreateNode(u"/trk/trkseg/trkpt"_s, false);
        writePlace(point);
    }
    return filer.SaveAsXmlFile(file);
}

QString Tour::NameOf(PointKind kind)
{
    const QList<EnumValueName> names = PointKindNames();
    return XmlFiler::EnumValueToName(int(kind), names.data(), Count(names), false);
}

QString Tour::NameOf(TourKind kind)
{
    const QList<EnumValueName> names = TourKindNames();
    return XmlFiler::EnumValueToName(int(kind), names.data(), Count(names), false);
}

PointKind Tour::PointKindOf(const QString& name)
{
    QList<EnumValueName> names = PointKindNames();
    return static_cast<PointKind>(
        std::max(0, XmlFiler::EnumNameToValue(name, names.data(), Count(names), false)));
}

TourKind Tour::TourKindOf(const QString& name)
{
    QList<EnumValueName> names = TourKindNames();
    return static_cast<TourKind>(
        std::max(0, XmlFiler::EnumNameToValue(name, names.data(), Count(names), false)));
}
