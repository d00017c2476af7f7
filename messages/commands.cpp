// messages: commands
