// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOLTEST_H
#define QVUTIL_TOOLTEST_H

#include "support/TestSupport.h"
#include "support/ToolRunner.h"

#include <QObject>
#include <QtTest>

#include <optional>

namespace TestSupport {

/// The base class of tests that run the tool. The tool runs in a new folder for each test function and each
/// of its rows. The folder of a failed test is kept.
class ToolTest : public QObject
{
    Q_OBJECT

protected:
    /// Called before and after each test function, while the folder exists.
    virtual void SetUp() { }
    virtual void TearDown() { }

    /// Runs the tool with arguments and standard input. \return the result as one text, see ToolResult
    [[nodiscard]] QString Run(const QStringList& arguments, const QByteArray& input = {}) const
    {
        return mTool->Run(arguments, input).ToText();
    }

    std::optional<ToolRunner> mTool;

private Q_SLOTS:
    void init()
    {
        FailOnAnyMessage();
        mTool.emplace();
        SetUp();
    }
    void cleanup()
    {
        if (QTest::currentTestFailed())
            mTool->KeepFolder();
        TearDown();
        mTool.reset();
    }
};

} // namespace TestSupport

#endif // QVUTIL_TOOLTEST_H
