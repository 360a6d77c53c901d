// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Files beyond the size limit. Reading them takes gigabytes of memory.

#include "support/LittleMemory.h"
#include "support/TestSupport.h"

#include "xml/XmlRules_p.h"

#include <XmlFiler.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using TestSupport::LogGuard;
using TestSupport::Outcome;
using TestSupport::RunWithLittleMemory;
using TestSupport::WriteFile;

class tst_LargeFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void FileSize();
    void EndlessFile();
};

void tst_LargeFiles::FileSize()
{
    const QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString file = folder.filePath(u"sparse.xml"_s);
    QVERIFY(WriteFile(file, "<r/>"));
    QVERIFY(QFile::resize(file, Internal::kMaxFileSize + 1));
    XmlFiler filer;
    const LogGuard log;

    QVERIFY(!filer.LoadFromXmlFile(file));

    QCOMPARE(log.Messages(), QStringList(file + u" does not load: it is larger than 1 GiB"_s));
    // A file below the size limit is read, but consists of zeros, which XML does not allow.
    QVERIFY(QFile::resize(file, qint64(256) * 1024 * 1024));
    QVERIFY(!filer.LoadFromXmlFile(file));
}

void tst_LargeFiles::EndlessFile()
{
    if (!QFile::exists(u"/dev/zero"_s))
        QSKIP("this system has no such device");
    // The device has no size and never ends, so reading it could use up all memory. The limit leaves room for
    // a file of 1 GiB, plus twice that while the buffer grows for the last time.
    QCOMPARE(RunWithLittleMemory([] { return XmlFiler().LoadFromXmlFile(u"/dev/zero"_s); },
                                 4096 * TestSupport::kMiB),
             Outcome::Refused);
}

QTEST_GUILESS_MAIN(tst_LargeFiles)
#include "tst_LargeFiles.moc"
