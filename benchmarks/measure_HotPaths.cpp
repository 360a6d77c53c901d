// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Runs a hot path repeatedly while valgrind counts the instructions. scripts/bench --instructions compares
// the counts for two numbers of repetitions, so that work that is done only once does not count.
//
//   measure_HotPaths                  lists the paths: name and number of repetitions
//   measure_HotPaths NAME COUNT       runs a path COUNT times

#include "BooleanExpressionEvaluator.h"
#include "GeneralUtil.h"
#include "IPC.h"
#include "LocaleUtil.h"
#include "Settings.h"
#include "XlfTranslator.h"
#include "XmlFiler.h"
#include "messaging/Base64_p.h"
#include "messaging/MessageCodec_p.h"
#include "xml/XmlRules_p.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

using Step = std::function<void()>;

struct HotPath
{
    const char* Name;
    int Count;
    Step (*Make)(); // prepares the data; called once
};

// Keeps the compiler from removing a computation whose result is unused.
template <typename Value> void Use(const Value& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

QString SiblingPath(int siblings)
{
    return u"/Node%1/Leaf"_s.arg(siblings / 2);
}

std::shared_ptr<XmlFiler> WideDocument(int siblings)
{
    auto filer = std::make_shared<XmlFiler>();
    filer->CreateRoot(u"Root"_s);
    for (int i = 0; i < siblings; ++i) {
        filer->MoveToRoot();
        filer->CreateImmediateChildNode(u"Node%1"_s.arg(i));
        filer->CreateImmediateChildNode(u"Leaf"_s);
        filer->WriteInt(u"Value"_s, i);
    }
    filer->MoveToRoot();
    return filer;
}

QString LargeDocument()
{
    XmlFiler filer;
    filer.CreateRoot(u"Settings"_s);
    for (int i = 0; i < 1000; ++i) {
        filer.MoveToRoot();
        filer.CreateImmediateChildNode(u"Item"_s);
        filer.WriteString(u"Name"_s, u"Setting number %1"_s.arg(i));
        filer.WriteString(u"Geometry"_s, u"%1,%2,640,480"_s.arg(i).arg(i * 2));
        filer.WriteNodeText(u"Größe & <Format> of item %1"_s.arg(i));
    }
    return filer.SaveAsXmlString();
}

MessageInfo SixParameters()
{
    MessageInfo message;
    message.Id = u"Ask"_s;
    message.UniqueId = QUuid(u"{67c8770b-44f1-410a-ab9a-f9b5446f13ee}"_s);
    message.Params = {{u"count"_s, 42},
                      {u"enabled"_s, true},
                      {u"flags"_s, 0x80000001U},
                      {u"ratio"_s, 0.72},
                      {u"size"_s, Q_INT64_C(1'234'567'890'123)},
                      {u"title"_s, u"Annual report, page 12"_s}};
    return message;
}

QByteArray Bytes16KiB()
{
    QByteArray bytes(qsizetype(16) * 1024, Qt::Uninitialized);
    for (qsizetype i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * i >> 3);
    return bytes;
}

Step Decoding(const MessageInfo& message)
{
    return [frame = EncodeMessageAsBytes(message)] {
        QList<MessageInfo> messages;
        DecodeMessage(frame, messages);
        Use(messages);
    };
}

MessageInfo BytesMessage()
{
    MessageInfo message = SixParameters();
    message.Params = {{u"bytes"_s, Bytes16KiB()}};
    return message;
}

// A file of 1,000 translations, and its texts.
class Translations
{
public:
    Translations()
    {
        QByteArray xml = "<xliff version=\"1.2\"><file original=\"ui/Main.xml\"><body>";
        for (int i = 0; i < 1000; ++i) {
            const QString text = u"Label of the control number %1"_s.arg(i);
            mTexts.append(text);
            xml += "<trans-unit id=\"" + GeneralUtil::GetHash(text)
                + "\"><target>Translation of a label</target></trans-unit>";
        }
        QFile file(mDir.filePath(u"de.xlf"_s));
        if (file.open(QIODevice::WriteOnly))
            file.write(xml + "</body></file></xliff>");
        file.close();
        mTranslator.SetXlfFile(file.fileName());
        TranslateAll(mTranslator);
        TranslateAll(mTranslator);
    }

    void TranslateAll(const XlfTranslator& translator) const
    {
        for (const QString& text : mTexts)
            Use(translator.Translate(text, mContext));
    }
    [[nodiscard]] const XlfTranslator& GetTranslator() const { return mTranslator; }

private:
    const QTemporaryDir mDir;
    const QString mContext = u"ui/main.xml"_s;
    QStringList mTexts;
    XlfTranslator mTranslator;
};

constexpr std::array kHotPaths = {
    HotPath{"read a known path", 20'000,
            []() -> Step {
                return [filer = WideDocument(1000), path = SiblingPath(1000), name = u"Value"_s] {
                    Use(filer->ReadInt(path, name, -1));
                };
            }},
    HotPath{"read a known path after an append", 2000,
            []() -> Step {
                return [filer = WideDocument(1000), path = SiblingPath(1000), name = u"Value"_s] {
                    filer->MoveToRoot();
                    filer->CreateImmediateChildNode(u"New"_s);
                    Use(filer->ReadInt(path, name, -1));
                };
            }},
    HotPath{"read a path step by step, 1,000 siblings", 500,
            []() -> Step {
                const std::shared_ptr<XmlFiler> filer = WideDocument(1000);
                static_cast<void>(filer->GetCurrentNode());
                return [filer, path = SiblingPath(1000), name = u"Value"_s] {
                    Use(filer->ReadInt(path, name, -1));
                };
            }},
    HotPath{"read a value from a settings store on a file", 20'000,
            []() -> Step {
                const auto dir = std::make_shared<QTemporaryDir>();
                WideDocument(1000)->SaveAsXmlFile(dir->filePath(u"s.xml"_s));
                const auto store = std::make_shared<Settings>(dir->filePath(u"s.xml"_s), u"Root"_s);
                return [dir, store, path = SiblingPath(1000), name = u"Value"_s] {
                    Use(store->ReadInt(path, name, -1));
                };
            }},
    HotPath{"change a value in a settings store", 20'000,
            []() -> Step {
                const auto dir = std::make_shared<QTemporaryDir>();
                const auto store = std::make_shared<Settings>(dir->filePath(u"s.xml"_s), u"Settings"_s);
                store->WriteInt(u"Group/Page"_s, u"Value"_s, 0);
                return [dir, store, path = u"Group/Page"_s, name = u"Value"_s, value = 0]() mutable {
                    store->WriteInt(path, name, ++value);
                };
            }},
    HotPath{"translate 1,000 texts for the first time", 20,
            []() -> Step {
                return [file = std::make_shared<Translations>()] {
                    const XlfTranslator copy = file->GetTranslator(); // its cache is empty
                    file->TranslateAll(copy);
                };
            }},
    HotPath{"translate 1,000 texts again", 100,
            []() -> Step {
                return
                    [file = std::make_shared<Translations>()] { file->TranslateAll(file->GetTranslator()); };
            }},
    HotPath{"check the limits, 1,000 elements", 50,
            []() -> Step { return [xml = LargeDocument().toUtf8()] { Use(Internal::IsSafeToParse(xml)); }; }},
    HotPath{"load 1,000 elements", 10,
            []() -> Step {
                return [xml = LargeDocument()] {
                    XmlFiler filer;
                    filer.LoadFromXmlString(xml);
                };
            }},
    HotPath{"save 1,000 elements", 10,
            []() -> Step {
                const auto filer = std::make_shared<XmlFiler>();
                filer->LoadFromXmlString(LargeDocument());
                return [filer] { Use(filer->SaveAsXmlString()); };
            }},
    HotPath{"encode six parameters", 5000,
            []() -> Step { return [message = SixParameters()] { Use(EncodeMessageAsBytes(message)); }; }},
    HotPath{"decode six parameters", 5000, []() -> Step { return Decoding(SixParameters()); }},
    HotPath{"encode 16 KiB", 200,
            []() -> Step { return [message = BytesMessage()] { Use(EncodeMessageAsBytes(message)); }; }},
    HotPath{"decode 16 KiB", 200, []() -> Step { return Decoding(BytesMessage()); }},
    HotPath{"locale name to identifier", 20'000,
            []() -> Step { return [] { Use(LocaleUtil::LocaleNameToLCID(u"de-AT"_s)); }; }},
    HotPath{"evaluate a & b", 5000,
            []() -> Step {
                const auto evaluator = std::make_shared<BooleanExpressionEvaluator>(
                    [](const QString& /*operand*/, bool& value) { return value = true; });
                return [evaluator] {
                    bool result = false;
                    evaluator->Evaluate(u"a & b"_s, result);
                    Use(result);
                };
            }},
};

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc != 3) {
        for (const HotPath& path : kHotPaths)
            std::printf("%s\t%d\n", path.Name, path.Count);
        return 0;
    }
    for (const HotPath& path : kHotPaths) {
        if (std::string_view(path.Name) != argv[1])
            continue;
        const Step step = path.Make();
        for (int left = QByteArray(argv[2]).toInt(); left > 0; --left)
            step();
        return 0;
    }
    return 2;
}
