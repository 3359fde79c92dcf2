#include "ui/AppNotifications.h"

AppNotifications &AppNotifications::shared()
{
    static AppNotifications notifications;
    return notifications;
}
