#include "install/pac/pac_engine.h"

#include "install/pac/pac_native.h"
#include "install/pac/pac_text.h"

#include <QFile>
#include <QJSEngine>
#include <QQmlEngine>
#include <QTimeZone>

/// Registers the resources of a static library. Q_INIT_RESOURCE must not be used in a namespace.
static void load_pac_resources()
{
    Q_INIT_RESOURCE(pac);
}

namespace
{

/// Runs before the script's first statement, so that only a syntax error prevents it. Without a
/// line break, so that line numbers in errors stay correct.
constexpr const char* instead_of_running = "throw 0;";

/// Makes the script's value the function that it defines. Runs in the script's scope, so that
/// functions declared in any way are found.
constexpr const char* behind_script =
    "\n;typeof FindProxyForURLEx === 'function' ? FindProxyForURLEx"
    " : typeof FindProxyForURL === 'function' ? FindProxyForURL : undefined;";

/// Calls a function and returns its result and its exception in an array. Without the array, a
/// script could throw a value that looks like a result.
constexpr const char* caller_source = "(function (f, a, b) {"
                                      " try { return [f(a, b), false]; }"
                                      " catch (e) { return [e, true]; } })";

constexpr const char* helpers_name = "pac_helpers.js";

/// The engine's message may contain a part of the script.
constexpr int message_length = 300; // characters

std::string shortened(const QString& message)
{
    return message.left(message_length).toStdString();
}

QString helpers_source()
{
    load_pac_resources();
    QFile file(":/pac/pac_helpers.js");
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(file.readAll());
}

/// The result of a call, or the exception that ended it.
struct OUTCOME
{
    QJSValue value;
    bool was_thrown = false;
};

/// One evaluation of a script in a separate engine. Nothing of it but the predefined functions can
/// be reached by the script.
class EVALUATION
{
public:
    EVALUATION(const PAC_ENVIRONMENT& environment, const std::string& host)
        : m_native(environment, host)
    {
        QQmlEngine::setObjectOwnership(&m_native, QQmlEngine::CppOwnership);
        m_engine.evaluate(helpers_source(), helpers_name)
            .call({m_engine.globalObject(), m_engine.newQObject(&m_native)});
        m_caller = m_engine.evaluate(caller_source);
        m_eval = m_engine.globalObject().property("eval");
    }

    /// The script's syntax error; nothing if it can be parsed. Runs nothing of it.
    std::optional<QString> syntax_error(const std::string& script)
    {
        const QJSValue error =
            m_engine.evaluate(instead_of_running + QString::fromStdString(script));
        return error.isError() ? std::optional(trouble_of(error)) : std::nullopt;
    }

    /// Runs the script, whose value is its function.
    OUTCOME read(const std::string& script)
    {
        // The global function "eval" runs it in the global scope.
        return call(m_eval, QString::fromStdString(script) + behind_script);
    }

    std::optional<std::string> directive_of(const QJSValue& function, const std::string& url,
                                            const std::string& host)
    {
        const OUTCOME outcome =
            call(function, QString::fromStdString(url), QString::fromStdString(host));
        if (!outcome.was_thrown && outcome.value.isString())
            return outcome.value.toString().toStdString();
        log(outcome.was_thrown ? failure(outcome.value) : "The script's result is not a string.");
        return std::nullopt;
    }

    static QString failure(const QJSValue& thrown)
    {
        return thrown.isError() ? "The script fails in " + trouble_of(thrown)
                                : "The script throws a value that is not an error.";
    }

    void log(const QString& line) { m_native.log(line); }

private:
    static QString trouble_of(const QJSValue& error)
    {
        const QString place =
            error.property("fileName").toString().endsWith(helpers_name)
                ? "a predefined function"
                : QStringLiteral("line %1").arg(error.property("lineNumber").toInt());
        return place + ": " + error.toString();
    }

    OUTCOME call(const QJSValue& function, const QString& first, const QString& second = {})
    {
        const QJSValue result = m_caller.call({function, first, second});
        return {result.property(0), !result.isArray() || result.property(1).toBool()};
    }

    PAC_NATIVE m_native;
    QJSEngine m_engine;
    QJSValue m_caller;
    QJSValue m_eval;
};

}

std::optional<std::string> evaluate_pac(const std::string& script, const std::string& url,
                                        const std::string& host, const PAC_ENVIRONMENT& environment)
{
    EVALUATION evaluation(environment, host);
    std::optional<std::string> mended;
    const std::optional<QString> syntax_error = evaluation.syntax_error(script);
    if (syntax_error)
        mended = without_padded_numbers(script);
    if (!syntax_error || (mended && !evaluation.syntax_error(*mended)))
    {
        const OUTCOME outcome = evaluation.read(mended.value_or(script));
        if (outcome.was_thrown)
        {
            evaluation.log(EVALUATION::failure(outcome.value));
            return std::nullopt;
        }
        if (outcome.value.isCallable())
            return evaluation.directive_of(outcome.value, url, host);
        environment.report("The script doesn't define FindProxyForURL.");
    }
    else
        environment.report("The script can't be parsed: " + shortened(*syntax_error));
    std::optional<std::string> directive = directive_in_text(script);
    if (directive)
        environment.report("The first proxy directive in its text is used: " + *directive);
    return directive;
}

void prepare_engine()
{
    // Without a name in this variable, Qt and the C library look at files before each conversion.
    const QByteArray zone = qgetenv("TZ");
    if (zone.isEmpty() || zone.endsWith("/etc/localtime"))
        qputenv("TZ", QTimeZone::systemTimeZoneId());
    QJSEngine().evaluate("[new Date(), new Date(0)].map(function (date) {"
                         " return date.toString() + date.toLocaleString() + date.getHours(); });");
}
