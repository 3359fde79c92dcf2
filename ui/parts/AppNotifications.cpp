#include "ui/parts/AppNotifications.h"

AppNotifications &AppNotifications::shared()
{
    static AppNotifications notifications;
    return notifications;
}
