% Velmor long sample: a weather station report in S-Lang
/*
 * Twenty stations, five readings each. Every station has its own
 * summary function, so the script is long enough to scroll: use the
 * scroll bars, the wheel, Edit > Go To Line and the Debug menu on it.
 */

variable Threshold_Low = 0.25;
variable Threshold_High = 0.75;
variable Report_Title = "Station report";   // shown in every heading

define clamp (x, lo, hi)
{
   if (x < lo) return lo;
   if (x > hi) return hi;
   return x;
}

define scale (x, lo, hi)
{
   if (hi == lo) return 0.0;
   return clamp ((x - lo) / (hi - lo), 0.0, 1.0);
}

% ---- station 1: north (temperature) ----
@:north
variable north_temperature = [10.50, 11.70, 12.90, 14.10, 10.90, 12.10, 13.30, 14.50];
variable north_unit = "deg C";

define north_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s north: mean %.2f %s, spread %.2f, range %.2f to %.2f, relative %.3f", Report_Title, m, north_unit, d, lo, hi, r);
   if (r < Threshold_Low)
     vmessage ("  north: low");
   else if (r > Threshold_High)
     vmessage ("  north: high");
   return r;
}

define north_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable north_r = north_summary (north_temperature);
variable north_t = north_trend (north_temperature);

% ---- station 2: harbour (pressure) ----
@:harbour
variable harbour_pressure = [1044.19, 1045.39, 1042.19, 1043.39, 1044.59, 1041.39, 1042.59, 1043.79];
variable harbour_unit = "hPa";

define harbour_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s harbour: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  harbour: low");
   else if (r > Threshold_High)
     vmessage ("  harbour: high");
   return r;
}

define harbour_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable harbour_r = harbour_summary (harbour_pressure);
variable harbour_t = harbour_trend (harbour_pressure);

% ---- station 3: ridge (humidity) ----
@:ridge
variable ridge_humidity = [67.04, 68.24, 69.44, 66.24, 67.44, 68.64, 69.84, 66.64];
variable ridge_unit = "%";

define ridge_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s ridge: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  ridge: low");
   else if (r > Threshold_High)
     vmessage ("  ridge: high");
   return r;
}

define ridge_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable ridge_r = ridge_summary (ridge_humidity);
variable ridge_t = ridge_trend (ridge_humidity);

% ---- station 4: mill (wind) ----
@:mill
variable mill_wind = [6.58, 3.38, 4.58, 5.78, 2.58, 3.78, 4.98, 6.18];
variable mill_unit = "m/s";

define mill_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s mill: mean %.2f %s, spread %.2f, range %.2f to %.2f, relative %.3f", Report_Title, m, mill_unit, d, lo, hi, r);
   if (r < Threshold_Low)
     vmessage ("  mill: low");
   else if (r > Threshold_High)
     vmessage ("  mill: high");
   return r;
}

define mill_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable mill_r = mill_summary (mill_wind);
variable mill_t = mill_trend (mill_wind);

% ---- station 5: quarry (rain) ----
@:quarry
variable quarry_rain = [3.76, 4.96, 1.76, 2.96, 4.16, 5.36, 2.16, 3.36];
variable quarry_unit = "mm";

define quarry_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s quarry: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  quarry: low");
   else if (r > Threshold_High)
     vmessage ("  quarry: high");
   return r;
}

define quarry_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable quarry_r = quarry_summary (quarry_rain);
variable quarry_t = quarry_trend (quarry_rain);

% ---- station 6: delta (temperature) ----
@:delta
variable delta_temperature = [13.17, 14.38, 15.57, 12.37, 13.57, 14.77, 15.97, 12.77];
variable delta_unit = "deg C";

define delta_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s delta: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  delta: low");
   else if (r > Threshold_High)
     vmessage ("  delta: high");
   return r;
}

define delta_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable delta_r = delta_summary (delta_temperature);
variable delta_t = delta_trend (delta_temperature);

% ---- station 7: orchard (pressure) ----
@:orchard
variable orchard_pressure = [1196.94, 1193.74, 1194.94, 1196.14, 1197.34, 1194.14, 1195.34, 1196.54];
variable orchard_unit = "hPa";

define orchard_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s orchard: mean %.2f %s, spread %.2f, range %.2f to %.2f, relative %.3f", Report_Title, m, orchard_unit, d, lo, hi, r);
   if (r < Threshold_Low)
     vmessage ("  orchard: low");
   else if (r > Threshold_High)
     vmessage ("  orchard: high");
   return r;
}

define orchard_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable orchard_r = orchard_summary (orchard_pressure);
variable orchard_t = orchard_trend (orchard_pressure);

% ---- station 8: pass (humidity) ----
@:pass
variable pass_humidity = [64.00, 65.20, 62.00, 63.20, 64.40, 65.60, 62.40, 63.60];
variable pass_unit = "%";

define pass_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s pass: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  pass: low");
   else if (r > Threshold_High)
     vmessage ("  pass: high");
   return r;
}

define pass_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable pass_r = pass_summary (pass_humidity);
variable pass_t = pass_trend (pass_humidity);

% ---- station 9: beacon (wind) ----
@:beacon
variable beacon_wind = [2.73, 3.93, 5.13, 6.33, 3.13, 4.33, 5.53, 2.33];
variable beacon_unit = "m/s";

define beacon_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s beacon: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  beacon: low");
   else if (r > Threshold_High)
     vmessage ("  beacon: high");
   return r;
}

define beacon_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable beacon_r = beacon_summary (beacon_wind);
variable beacon_t = beacon_trend (beacon_wind);

% ---- station 10: marsh (rain) ----
@:marsh
variable marsh_rain = [4.38, 1.18, 2.38, 3.58, 4.78, 1.58, 2.78, 3.98];
variable marsh_unit = "mm";

define marsh_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s marsh: mean %.2f %s, spread %.2f, range %.2f to %.2f, relative %.3f", Report_Title, m, marsh_unit, d, lo, hi, r);
   if (r < Threshold_Low)
     vmessage ("  marsh: low");
   else if (r > Threshold_High)
     vmessage ("  marsh: high");
   return r;
}

define marsh_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable marsh_r = marsh_summary (marsh_rain);
variable marsh_t = marsh_trend (marsh_rain);

% ---- station 11: summit (temperature) ----
@:summit
variable summit_temperature = [13.23, 14.43, 15.62, 12.43, 13.63, 14.83, 11.63, 12.83];
variable summit_unit = "deg C";

define summit_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s summit: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  summit: low");
   else if (r > Threshold_High)
     vmessage ("  summit: high");
   return r;
}

define summit_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable summit_r = summit_summary (summit_temperature);
variable summit_t = summit_trend (summit_temperature);

% ---- station 12: weir (pressure) ----
@:weir
variable weir_pressure = [1132.56, 1133.76, 1134.96, 1136.16, 1132.96, 1134.16, 1135.36, 1136.56];
variable weir_unit = "hPa";

define weir_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s weir: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  weir: low");
   else if (r > Threshold_High)
     vmessage ("  weir: high");
   return r;
}

define weir_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable weir_r = weir_summary (weir_pressure);
variable weir_t = weir_trend (weir_pressure);

% ---- station 13: forge (humidity) ----
@:forge
variable forge_humidity = [74.40, 75.60, 72.40, 73.60, 74.80, 71.60, 72.80, 74.00];
variable forge_unit = "%";

define forge_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s forge: mean %.2f %s, spread %.2f, range %.2f to %.2f, relative %.3f", Report_Title, m, forge_unit, d, lo, hi, r);
   if (r < Threshold_Low)
     vmessage ("  forge: low");
   else if (r > Threshold_High)
     vmessage ("  forge: high");
   return r;
}

define forge_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable forge_r = forge_summary (forge_humidity);
variable forge_t = forge_trend (forge_humidity);

% ---- station 14: lantern (wind) ----
@:lantern
variable lantern_wind = [4.16, 5.36, 6.56, 3.36, 4.56, 5.76, 6.96, 3.76];
variable lantern_unit = "m/s";

define lantern_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s lantern: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  lantern: low");
   else if (r > Threshold_High)
     vmessage ("  lantern: high");
   return r;
}

define lantern_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable lantern_r = lantern_summary (lantern_wind);
variable lantern_t = lantern_trend (lantern_wind);

% ---- station 15: cove (rain) ----
@:cove
variable cove_rain = [5.00, 1.80, 3.00, 4.20, 1.00, 2.20, 3.40, 4.60];
variable cove_unit = "mm";

define cove_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s cove: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  cove: low");
   else if (r > Threshold_High)
     vmessage ("  cove: high");
   return r;
}

define cove_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable cove_r = cove_summary (cove_rain);
variable cove_t = cove_trend (cove_rain);

% ---- station 16: moor (temperature) ----
@:moor
variable moor_temperature = [13.28, 14.48, 11.28, 12.47, 13.68, 14.88, 11.68, 12.88];
variable moor_unit = "deg C";

define moor_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s moor: mean %.2f %s, spread %.2f, range %.2f to %.2f, relative %.3f", Report_Title, m, moor_unit, d, lo, hi, r);
   if (r < Threshold_Low)
     vmessage ("  moor: low");
   else if (r > Threshold_High)
     vmessage ("  moor: high");
   return r;
}

define moor_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable moor_r = moor_summary (moor_temperature);
variable moor_t = moor_trend (moor_temperature);

% ---- station 17: spire (pressure) ----
@:spire
variable spire_pressure = [1072.58, 1073.78, 1074.98, 1071.78, 1072.98, 1074.18, 1075.38, 1072.18];
variable spire_unit = "hPa";

define spire_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s spire: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  spire: low");
   else if (r > Threshold_High)
     vmessage ("  spire: high");
   return r;
}

define spire_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable spire_r = spire_summary (spire_pressure);
variable spire_t = spire_trend (spire_pressure);

% ---- station 18: ferry (humidity) ----
@:ferry
variable ferry_humidity = [71.36, 68.16, 69.36, 70.56, 71.76, 68.56, 69.76, 70.96];
variable ferry_unit = "%";

define ferry_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s ferry: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  ferry: low");
   else if (r > Threshold_High)
     vmessage ("  ferry: high");
   return r;
}

define ferry_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable ferry_r = ferry_summary (ferry_humidity);
variable ferry_t = ferry_trend (ferry_humidity);

% ---- station 19: glen (wind) ----
@:glen
variable glen_wind = [4.70, 5.90, 2.70, 3.90, 5.10, 6.30, 3.10, 4.30];
variable glen_unit = "m/s";

define glen_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s glen: mean %.2f %s, spread %.2f, range %.2f to %.2f, relative %.3f", Report_Title, m, glen_unit, d, lo, hi, r);
   if (r < Threshold_Low)
     vmessage ("  glen: low");
   else if (r > Threshold_High)
     vmessage ("  glen: high");
   return r;
}

define glen_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable glen_r = glen_summary (glen_wind);
variable glen_t = glen_trend (glen_wind);

% ---- station 20: basin (rain) ----
@:basin
variable basin_rain = [1.85, 3.05, 4.25, 5.45, 2.25, 3.45, 4.65, 1.45];
variable basin_unit = "mm";

define basin_summary (a)
{
   variable lo = min (a), hi = max (a);
   variable m = sum (a) / length (a);
   variable d = sqrt (sum ((a - m) ^ 2) / length (a));
   if ((length (a) == 0) or (hi < lo))
     return NULL;
   /* relative position of the mean */ variable r = scale (m, lo, hi);
   vmessage ("%s basin: mean %.2f, spread %.2f", Report_Title, m, d);
   if (r < Threshold_Low)
     vmessage ("  basin: low");
   else if (r > Threshold_High)
     vmessage ("  basin: high");
   return r;
}

define basin_trend (a)
{
   variable i, t = 0.0;
   _for i (1, length (a) - 1, 1)
     t += a[i] - a[i - 1];
   return t / (length (a) - 1);   // mean step
}

variable basin_r = basin_summary (basin_rain);
variable basin_t = basin_trend (basin_rain);

@-
% all stations done
vmessage ("%d stations", 20);
