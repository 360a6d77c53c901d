// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "general/VariableResolver_p.h"

#include "base/PatternSpace_p.h"

#include <QStringView>

namespace Quorvin::Util::Internal {
namespace {

constexpr QStringView kVariableStart = u"$(";

// Folds a name such that two folded names are equal if and only if the names compare equal
// case-insensitively.
QString Folded(const QString& name)
{
    QString folded = name;
    for (qsizetype i = 0; i < folded.size(); ++i) {
        const QChar c = folded[i];
        if (c.isLowSurrogate() && i > 0 && name[i - 1].isHighSurrogate()) {
            const char32_t whole = QChar::surrogateToUcs4(name[i - 1], c);
            folded[i] = QChar::lowSurrogate(QChar::toCaseFolded(whole));
        } else {
            folded[i] = c.toCaseFolded();
        }
    }
    return folded;
}

} // namespace

VariableResolver::VariableResolver(const QMap<QString, QString>& variables, bool ignoreCase)
    : mVariables(variables)
    , mIgnoreCase(ignoreCase)
{
    for (auto variable = variables.keyBegin(); variable != variables.keyEnd(); ++variable)
        mNameLengths.insert(variable->size());
}

int VariableResolver::Resolve(QString& text)
{
    const qsizetype first = text.indexOf(kVariableStart);
    if (first < 0 || !text.isValidUtf16())
        return 0;
    mRest.assign(text.crbegin(), text.crend() - first);
    mStop = mStopFrom = -1;
    QString result = text.first(first);
    int count = 0;
    while (!mRest.empty()) {
        const qsizetype start = static_cast<qsizetype>(mRest.size()) - 1;
        const bool isStart
            = mRest.back() == u'$' && start >= 2 && mRest[static_cast<size_t>(start - 1)] == u'(';
        if (isStart && !IsPatternSpace(mRest[static_cast<size_t>(start - 2)])) {
            const qsizetype stop = FindStop(start - 3);
            if (stop < 0)
                break; // the rest contains no reference either
            const QString* const value
                = mRest[static_cast<size_t>(stop)] == u')' ? FindValue(start - 2, stop) : nullptr;
            if (value != nullptr) {
                mRest.resize(static_cast<size_t>(stop));
                mRest.insert(mRest.end(), value->crbegin(), value->crend());
                mWork += value->size();
                mStop = mStopFrom = -1;
                ++count;
            }
        }
        if (!mRest.empty())
            result += Take();
    }
    while (!mRest.empty())
        result += Take();
    if (count > 0)
        text = result;
    return count;
}

QChar VariableResolver::Take()
{
    const QChar c = mRest.back();
    mRest.pop_back();
    ++mWork;
    return c;
}

// Finds the next ')' or white space in mRest. As mRest is reversed, searches from an index downwards. Returns
// -1 if there is none. Each character is examined only once, because the result stays valid until the text
// before the stop is consumed: a value always replaces all characters up to the stop.
qsizetype VariableResolver::FindStop(qsizetype from)
{
    if (from <= mStopFrom && from >= mStop)
        return mStop;
    mStopFrom = from;
    for (mStop = from; mStop >= 0; --mStop) {
        ++mWork;
        const QChar c = mRest[static_cast<size_t>(mStop)];
        if (c == u')' || IsPatternSpace(c))
            break;
    }
    return mStop;
}

// Returns the value for the name between two indexes of mRest.
const QString* VariableResolver::FindValue(qsizetype nameBegin, qsizetype nameEnd)
{
    const qsizetype size = nameBegin - nameEnd;
    if (!mNameLengths.contains(size))
        return nullptr; // no name has this length
    QString name(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        name[i] = mRest[static_cast<size_t>(nameBegin - i)];
    mWork += size;
    const auto found = mVariables.constFind(name);
    if (found != mVariables.cend())
        return &*found;
    return mIgnoreCase ? FindInAnyCase(name) : nullptr;
}

const QString* VariableResolver::FindInAnyCase(const QString& name)
{
    if (!mFolded) {
        mFolded.emplace();
        for (auto variable = mVariables.cbegin(); variable != mVariables.cend(); ++variable) {
            const QString key = Folded(variable.key());
            if (!mFolded->contains(key))
                mFolded->insert(key, &*variable);
        }
    }
    return mFolded->value(Folded(name), nullptr);
}

} // namespace Quorvin::Util::Internal
