// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests how often the commands of `grid` query the system's sockets. Calls the tool's code directly, and
// replaces the code that queries the sockets.

#include "grid/GridCleaning.h"
#include "grid/GridSnapshot.h"
#include "ipc/EndpointProcesses.h"
#include "support/BareSocket.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

int gQueries = 0;

} // namespace

namespace Quorvin::Tool {

struct SocketSnapshot::Data
{ };

SocketSnapshot::SocketSnapshot()
{
    ++gQueries;
}

SocketSnapshot::~SocketSnapshot() = default;

std::optional<EndpointProcesses> SocketSnapshot::Find(const QString& /*path*/) const
{
    return EndpointProcesses(); // nobody listens
}

} // namespace Quorvin::Tool

using namespace Quorvin::Tool;

class tst_ToolGridCleaning : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void ManySockets();
};

// A query reads the open files of all processes, so one for each file would take minutes on a busy machine.
void tst_ToolGridCleaning::ManySockets()
{
    constexpr int kFiles = 200;
    const QTemporaryDir folder;
    const TestSupport::EnvironmentGuard guard("TMPDIR", QFile::encodeName(folder.path()));
    std::vector<std::unique_ptr<TestSupport::BareSocket>> sockets;
    for (int i = 0; i < kFiles; ++i) {
        const QString path = folder.filePath(u"desk.x.%1"_s.arg(0x7FFFFFF0 - i));
        sockets.push_back(std::make_unique<TestSupport::BareSocket>(path, false));
        QVERIFY(sockets.back()->IsGood());
    }
    gQueries = 0;
    QCOMPARE(InspectGrid(u"desk"_s).StaleItems.size(), kFiles);
    const int inspection = std::exchange(gQueries, 0);
    QCOMPARE(CleanGrid(u"desk"_s).Removed.size(), kFiles);
    QVERIFY2(inspection <= 2 && gQueries <= 1, qPrintable(u"%1 + %2"_s.arg(inspection).arg(gQueries)));
}

QTEST_GUILESS_MAIN(tst_ToolGridCleaning)

#include "tst_ToolGridCleaning.moc"
