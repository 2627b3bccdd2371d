#pragma once
#include "pch/core_pch.h"
#include <QtTest/QtTest>
