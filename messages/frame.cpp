// messages: frame
