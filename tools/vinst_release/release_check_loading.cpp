#include "tools/vinst_release/release_check_loading.h"

#include "install/vinst/release/vinst_data.h"
#include "install/vinst/release/vinst_parser.h"
#include "tools/vinst_release/release_text.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryFile>

namespace
{

/// The required keys that an element lacks; the program rejects a manifest with such an element.
QStringList missing_required_keys(const RELEASE_ELEMENT& element)
{
    QStringList required = {"data_type"};
    if (element.is_release())
        required << "edition"
                 << "version";
    else if (element.has("data_type"))
        required << "name";
    if (element.is_release() && element.has("test_url"))
        required << "test_md5sum";
    QStringList missing;
    for (const QString& key : required)
        if (!element.object.contains(key))
            missing.append(key);
    return missing;
}

/// Finds the element that a message of the parser refers to.
class MESSAGE_READER
{
public:
    MESSAGE_READER(const std::vector<RELEASE_ELEMENT>& elements, RELEASE_FAULTS& faults)
        : m_elements(elements), m_faults(faults)
    {
    }

    [[nodiscard]] bool took_any() const { return m_took_any; }

    void take(const QByteArray& message)
    {
        m_took_any = true;
        if (message.startsWith("Parent component: ") ||
            message.startsWith("Dependency component: "))
            return;
        // Format: 'key' has a fault: {"the":"element", truncated if it is long
        const int gap = message.indexOf(": ");
        const QByteArray shown = gap < 0 ? QByteArray() : message.mid(gap + 2).chopped(1);
        const RELEASE_ELEMENT* element = message.startsWith('\'') ? find(shown) : nullptr;
        if (element != nullptr)
            m_faults.add(*element, QString::fromUtf8(message.left(gap)));
        else
            m_faults.add(QString::fromUtf8(message).trimmed());
    }

private:
    const RELEASE_ELEMENT* find(const QByteArray& shown)
    {
        if (m_by_text.isEmpty())
            for (const RELEASE_ELEMENT& element : m_elements)
                m_by_text.insert(start_of(element.compact_text()), &element);
        return m_by_text.value(start_of(shown));
    }

    /// Messages truncate long elements, so elements with the same beginning can't be distinguished.
    static QByteArray start_of(const QByteArray& text)
    {
        constexpr int longest = 1024;
        return text.left(longest);
    }

    const std::vector<RELEASE_ELEMENT>& m_elements;
    RELEASE_FAULTS& m_faults;
    bool m_took_any = false;
    QHash<QByteArray, const RELEASE_ELEMENT*> m_by_text;
};

/// The program stops at the first element that lacks a required key. To check the rest, a copy
/// without such elements is loaded.
void load_without(const QString& manifest, const std::vector<RELEASE_ELEMENT>& elements,
                  MESSAGE_READER& reader, RELEASE_FAULTS& faults)
{
    QJsonArray loadable;
    for (const RELEASE_ELEMENT& element : elements)
        if (missing_required_keys(element).isEmpty())
            loadable.append(element.object);
    if (loadable.isEmpty())
        return;
    QTemporaryFile copy;
    const QByteArray text = QJsonDocument(loadable).toJson();
    if (!copy.open() || copy.write(text) != text.size() || !copy.flush())
        faults.add("cannot check all of " + quoted(manifest) + ": " + copy.errorString());
    else
        parse_manifest(copy.fileName(), [&](const QByteArray& message) { reader.take(message); });
}

}

void check_loading(const QString& manifest, const std::vector<RELEASE_ELEMENT>& elements,
                   RELEASE_FAULTS& faults)
{
    MESSAGE_READER reader(elements, faults);
    bool lacks_required_key = false;
    for (const RELEASE_ELEMENT& element : elements)
        for (const QString& key : missing_required_keys(element))
        {
            lacks_required_key = true;
            faults.add(element, '\'' + key + "' is missing; the program rejects such a manifest");
        }
    if (lacks_required_key)
    {
        load_without(manifest, elements, reader, faults);
        return;
    }
    const auto release =
        parse_manifest(manifest, [&](const QByteArray& message) { reader.take(message); });
    if (!release && !reader.took_any())
        faults.add(QStringLiteral("the program does not load this manifest"));
}
