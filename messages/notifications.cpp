// messages: notifications
