#pragma once
#include "pch/ui_pch.h"
#include <QtTest/QtTest>
