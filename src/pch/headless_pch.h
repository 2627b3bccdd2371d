// Precompiled header of the headless layer: Qt Core, Network and SerialPort.
#pragma once
#include "pch/core_pch.h"
#include <QtCore/QTimer>
#include <QtNetwork/QHostAddress>
#include <QtNetwork/QTcpSocket>
