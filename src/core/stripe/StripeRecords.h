#pragma once

// Every record the Stripe client decodes or returns.
#include "StripeAccountInfo.h"
#include "StripeBilling.h"
#include "StripeEvents.h"
#include "StripePayments.h"
#include "StripeSubscriptions.h"
