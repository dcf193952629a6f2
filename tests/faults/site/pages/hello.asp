<%@ EnableSessionState=False %>hello
