#include "ui/screens/CommitText.h"

#include "app/MessageReflow.h"

namespace strataloom {

CommitText::CommitText(QObject *parent)
    : QObject(parent)
{ }

QString CommitText::reflowed(const QString &body) const
{
    return reflowedMessage(body);
}

} // namespace strataloom
