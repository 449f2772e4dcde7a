#include "install/pac/pac_engine.h"

#include "install/pac/pac_native.h"
#include "install/pac/pac_text.h"

#include <QFile>
#include <QJSEngine>
#include <QQmlEngine>

/// Registers the resources of a static library. Q_INIT_RESOURCE must not be used in a namespace.
static void load_pac_resources()
{
    Q_INIT_RESOURCE(pac);
}

namespace
{

/// Without a line break, so that line numbers in errors stay correct.
constexpr const char* before_script = "__pac.begin();";

/// Runs in the script's scope, so that functions declared in any way are found.
constexpr const char* behind_script =
    "\n;__pac.take(typeof FindProxyForURLEx === 'function' ? FindProxyForURLEx"
    " : typeof FindProxyForURL === 'function' ? FindProxyForURL : undefined);";

/// Returns the function's result in an array, to distinguish it from an exception, which can have
/// any type.
constexpr const char* caller_source =
    "(function (f, url, host) { try { return [f(url, host)]; } catch (e) { return e; } })";

QString helpers_source()
{
    load_pac_resources();
    QFile file(":/pac/pac_helpers.js");
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(file.readAll());
}

/// One evaluation of a script in a separate engine.
class EVALUATION
{
public:
    explicit EVALUATION(const PAC_ENVIRONMENT& environment) : m_native(environment)
    {
        QQmlEngine::setObjectOwnership(&m_native, QQmlEngine::CppOwnership);
        const QJSValue native = m_engine.newQObject(&m_native);
        m_engine.evaluate(helpers_source(), "pac_helpers.js")
            .call({m_engine.globalObject(), native});
        m_engine.globalObject().setProperty("__pac", native);
    }

    void read(const std::string& script)
    {
        m_result = m_engine.evaluate(before_script + QString::fromStdString(script) + behind_script,
                                     "proxy script");
    }

    bool is_unreadable() const { return !m_native.has_begun(); }
    bool has_thrown() const { return m_native.has_begun() && !m_native.has_ended(); }
    bool has_function() const { return m_native.function().isCallable(); }
    QString trouble() const { return trouble_of(m_result); }

    std::optional<std::string> call(const std::string& url, const std::string& host)
    {
        QJSValue caller = m_engine.evaluate(caller_source);
        const QJSValue result = caller.call(
            {m_native.function(), QString::fromStdString(url), QString::fromStdString(host)});
        const QJSValue answer = result.isArray() ? result.property(0) : QJSValue();
        if (answer.isString())
            return answer.toString().toStdString();
        m_native.log(result.isArray() ? "The script's result is not a string."
                                      : trouble_of(result));
        return std::nullopt;
    }

private:
    static QString trouble_of(const QJSValue& error)
    {
        if (!error.isError())
            return "The script throws a value that is not an error.";
        return QStringLiteral("The script fails in line %1: %2")
            .arg(error.property("lineNumber").toInt())
            .arg(error.toString());
    }

    PAC_NATIVE m_native;
    QJSEngine m_engine;
    QJSValue m_result;
};

}

std::optional<std::string> evaluate_pac(const std::string& script, const std::string& url,
                                        const std::string& host, const PAC_ENVIRONMENT& environment)
{
    std::optional<EVALUATION> evaluation(std::in_place, environment);
    evaluation->read(script);
    const QString syntax_error = evaluation->trouble();
    if (evaluation->is_unreadable())
    {
        if (const std::optional<std::string> mended = without_padded_numbers(script))
        {
            evaluation.emplace(environment);
            evaluation->read(*mended);
        }
    }
    if (evaluation->has_function())
        return evaluation->call(url, host);

    if (evaluation->has_thrown())
    {
        environment.log(evaluation->trouble().toStdString());
        return std::nullopt;
    }
    environment.log(evaluation->is_unreadable() ? syntax_error.toStdString()
                                                : "The script doesn't define FindProxyForURL.");
    std::optional<std::string> directive = directive_in_text(script);
    if (directive)
        environment.log("Its text contains a directive, which is used instead.");
    return directive;
}
