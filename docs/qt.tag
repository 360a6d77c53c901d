<?xml version="1.0" encoding="UTF-8"?>
<!--
SPDX-FileCopyrightText: 2026 The QvUtil developers
SPDX-License-Identifier: MIT

Qt's classes for Doxygen, relative to https://doc.qt.io/qt-6/: not every system has a package with Qt's own tag
files. Only the classes that the reference and the handbook name are listed.
-->
<tagfile>
  <compound kind="class"><name>QByteArray</name><filename>qbytearray.html</filename></compound>
  <compound kind="class"><name>QChar</name><filename>qchar.html</filename></compound>
  <compound kind="class"><name>QCoreApplication</name><filename>qcoreapplication.html</filename></compound>
  <compound kind="class"><name>QCryptographicHash</name><filename>qcryptographichash.html</filename></compound>
  <compound kind="class"><name>QDataStream</name><filename>qdatastream.html</filename></compound>
  <compound kind="class"><name>QDate</name><filename>qdate.html</filename></compound>
  <compound kind="class"><name>QDateTime</name><filename>qdatetime.html</filename></compound>
  <compound kind="class"><name>QDir</name><filename>qdir.html</filename></compound>
  <compound kind="class"><name>QDomDocument</name><filename>qdomdocument.html</filename></compound>
  <compound kind="class"><name>QDomElement</name><filename>qdomelement.html</filename></compound>
  <compound kind="class"><name>QDomNamedNodeMap</name><filename>qdomnamednodemap.html</filename></compound>
  <compound kind="class"><name>QDomNode</name><filename>qdomnode.html</filename></compound>
  <compound kind="class"><name>QEventLoop</name><filename>qeventloop.html</filename></compound>
  <compound kind="class"><name>QFile</name><filename>qfile.html</filename></compound>
  <compound kind="class"><name>QFileInfo</name><filename>qfileinfo.html</filename></compound>
  <compound kind="class"><name>QHash</name><filename>qhash.html</filename></compound>
  <compound kind="class"><name>QIODevice</name><filename>qiodevice.html</filename></compound>
  <compound kind="class">
    <name>QIODeviceBase</name>
    <filename>qiodevicebase.html</filename>
    <member kind="typedef">
      <name>OpenMode</name>
      <anchorfile>qiodevicebase.html</anchorfile>
      <anchor>OpenModeFlag-enum</anchor>
    </member>
  </compound>
  <compound kind="class"><name>QLatin1String</name><filename>qlatin1string.html</filename></compound>
  <compound kind="class"><name>QLatin1StringView</name><filename>qlatin1stringview.html</filename></compound>
  <compound kind="class"><name>QList</name><filename>qlist.html</filename></compound>
  <compound kind="class"><name>QLocalServer</name><filename>qlocalserver.html</filename></compound>
  <compound kind="class"><name>QLocalSocket</name><filename>qlocalsocket.html</filename></compound>
  <compound kind="class"><name>QLocale</name><filename>qlocale.html</filename></compound>
  <compound kind="class"><name>QLoggingCategory</name><filename>qloggingcategory.html</filename></compound>
  <compound kind="class"><name>QMap</name><filename>qmap.html</filename></compound>
  <compound kind="class"><name>QObject</name><filename>qobject.html</filename></compound>
  <compound kind="class"><name>QRect</name><filename>qrect.html</filename></compound>
  <compound kind="class"><name>QRegularExpression</name><filename>qregularexpression.html</filename></compound>
  <compound kind="class"><name>QSaveFile</name><filename>qsavefile.html</filename></compound>
  <compound kind="class"><name>QSettings</name><filename>qsettings.html</filename></compound>
  <compound kind="class"><name>QSharedMemory</name><filename>qsharedmemory.html</filename></compound>
  <compound kind="class"><name>QSize</name><filename>qsize.html</filename></compound>
  <compound kind="class"><name>QString</name><filename>qstring.html</filename></compound>
  <compound kind="class"><name>QStringList</name><filename>qstringlist.html</filename></compound>
  <compound kind="class"><name>QStringView</name><filename>qstringview.html</filename></compound>
  <compound kind="class"><name>QTextStream</name><filename>qtextstream.html</filename></compound>
  <compound kind="class"><name>QThread</name><filename>qthread.html</filename></compound>
  <compound kind="class"><name>QTime</name><filename>qtime.html</filename></compound>
  <compound kind="class"><name>QTimeZone</name><filename>qtimezone.html</filename></compound>
  <compound kind="class"><name>QTranslator</name><filename>qtranslator.html</filename></compound>
  <compound kind="class"><name>QUuid</name><filename>quuid.html</filename></compound>
  <compound kind="class"><name>QVariant</name><filename>qvariant.html</filename></compound>
  <compound kind="file">
    <name>qvariant.h</name>
    <filename>qvariant.html</filename>
    <member kind="typedef">
      <name>QVariantList</name>
      <anchorfile>qvariant.html</anchorfile>
      <anchor>QVariantList-typedef</anchor>
    </member>
    <member kind="typedef">
      <name>QVariantMap</name>
      <anchorfile>qvariant.html</anchorfile>
      <anchor>QVariantMap-typedef</anchor>
    </member>
  </compound>
</tagfile>
