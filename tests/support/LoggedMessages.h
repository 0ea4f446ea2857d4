#pragma once

#include <QLoggingCategory>
#include <QString>
#include <QtGlobal>

#include <vector>

namespace lookpane::testing {

// Collects what Lookpane's logging categories ("lookpane.*") print while it lives; Qt's own
// messages pass on to the handler that was there before.
class LoggedMessages
{
public:
    struct Message
    {
        QtMsgType type;
        QString category;
        QString text;
    };

    LoggedMessages();
    ~LoggedMessages();

    LoggedMessages(const LoggedMessages &) = delete;
    LoggedMessages &operator=(const LoggedMessages &) = delete;

    const std::vector<Message> &all() const { return m_messages; }
    std::vector<Message> ofType(QtMsgType type) const;

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text);

    std::vector<Message> m_messages;
    QtMessageHandler m_previous = nullptr;
};

// Logging rules for as long as it lives (QLoggingCategory::setFilterRules); none after.
class ScopedFilterRules
{
public:
    explicit ScopedFilterRules(const QString &rules) { QLoggingCategory::setFilterRules(rules); }
    ~ScopedFilterRules() { QLoggingCategory::setFilterRules(QString()); }

    ScopedFilterRules(const ScopedFilterRules &) = delete;
    ScopedFilterRules &operator=(const ScopedFilterRules &) = delete;
};

} // namespace lookpane::testing
