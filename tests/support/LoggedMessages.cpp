#include "LoggedMessages.h"

#include <cstring>

namespace lookpane::testing {

namespace {
// The message handler is a plain function: it reaches the collector through these.
QtMessageHandler previousHandler = nullptr;
std::vector<LoggedMessages::Message> *sink = nullptr;
} // namespace

LoggedMessages::LoggedMessages()
{
    sink = &m_messages;
    m_previous = qInstallMessageHandler(&LoggedMessages::handle);
    previousHandler = m_previous;
}

LoggedMessages::~LoggedMessages()
{
    qInstallMessageHandler(m_previous);
    sink = nullptr;
    previousHandler = nullptr;
}

std::vector<LoggedMessages::Message> LoggedMessages::ofType(QtMsgType type) const
{
    std::vector<Message> found;
    for (const Message &message : m_messages) {
        if (message.type == type) {
            found.push_back(message);
        }
    }
    return found;
}

void LoggedMessages::handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    const char *category = context.category != nullptr ? context.category : "";
    if (sink != nullptr && std::strncmp(category, "lookpane.", 9) == 0) {
        sink->push_back({type, QString::fromLatin1(category), text});
        return;
    }
    if (previousHandler != nullptr) {
        previousHandler(type, context, text);
    }
}

} // namespace lookpane::testing
